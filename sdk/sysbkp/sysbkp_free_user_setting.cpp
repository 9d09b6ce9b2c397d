#include <morvsdk/internal/sysbkp.h>
#include <stdlib.h>
#include <string.h>

#include <initializer_list>

extern "C" void MORVSysbkpIFreeUserSetting(MORVSYSBKPUSER *user) noexcept {
    if (!user) return;
    for (char **text : {&user->szName, &user->szPassword, &user->szFullName, &user->szSmbPassword1,
                        &user->szSmbPassword2, &user->szMail}) {
        if (*text) explicit_bzero(*text, strlen(*text));
        free(*text);
        *text = nullptr;
    }
}
