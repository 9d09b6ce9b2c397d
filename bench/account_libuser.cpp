// libuser, its modules reading the same files. Its context is what a program makes for each look-up that is
// not to see old files.
#include <libuser/user.h>
#include <stdlib.h>

#include "account_bench.h"

namespace bench {

namespace {

template <class Find>
auto look_up(Find find) {
    return [find](auto see) {
        lu_error *error = nullptr;
        lu_context *const context =
            lu_start(nullptr, lu_user, nullptr, nullptr, lu_prompt_console_quiet, nullptr, &error);
        if (!context) give_up(std::string("libuser: ") + lu_strerror(error));
        lu_ent *const entry = lu_ent_new();
        if (!find(context, entry, &error)) give_up("libuser: look-up");
        Person person;
        person.name = lu_ent_get_first_string(entry, LU_USERNAME);
        person.hash = lu_ent_get_first_string(entry, LU_SHADOWPASSWORD);
        person.home = lu_ent_get_first_string(entry, LU_HOMEDIRECTORY);
        person.uid = lu_ent_get_first_id(entry, LU_UIDNUMBER);
        lu_ent_free(entry);
        lu_end(context);
        see(person);
    };
}

const Area libuser([] {
    took_part("libuser", VERSION_OF_account_libuser);
    const std::string settings = accounts().path("/libuser.conf");
    const std::string folder = "directory = " + accounts().path("/etc") + "\nnonroot = yes\n";
    write_file(settings, "[defaults]\nmodules = files shadow\ncreate_modules = files shadow\n[files]\n" +
                             folder + "[shadow]\n" + folder);
    setenv("LIBUSER_CONF", settings.c_str(), 1);
    compare("user_get", text_of(someone()))
        .side("libuser", look_up([](lu_context *context, lu_ent *entry, lu_error **error) {
                  return lu_user_lookup_name(context, someone().name.c_str(), entry, error);
              }));
    compare("user_get_by_uid", text_of(someone()))
        .side("libuser", look_up([](lu_context *context, lu_ent *entry, lu_error **error) {
                  return lu_user_lookup_id(context, someone().uid, entry, error);
              }));
});

}  // namespace

}  // namespace bench
