// GLib's key file: parses the whole file; saves through a temporary file that it syncs and renames.
#include <glib.h>

#include "file_bench.h"

namespace bench {

namespace {

GKeyFile *load(const std::string &path) {
    GKeyFile *const file = g_key_file_new();
    if (!g_key_file_load_from_file(file, path.c_str(), G_KEY_FILE_KEEP_COMMENTS, nullptr))
        give_up("GLib: load");
    return file;
}

void add(const ConfFile &conf, const Place &place) {
    const std::string path = conf.put(place, "glib");
    compare(conf.name("read_key", place), "\"" + conf.value + "\"")
        .side("glib", [=, key = conf.key](auto see) {
            GKeyFile *const file = load(path);
            gchar *const value = g_key_file_get_value(file, kConfSection, key.c_str(), nullptr);
            see(static_cast<const char *>(value));
            g_free(value);
            g_key_file_free(file);
        });
    if (!place.in_memory()) return;  // a disk hides what differs
    compare(conf.name("set_key", place), conf.changed(NewValue::kFirst))
        .side("glib", [=, key = conf.key, value = NewValue()](auto see) mutable {
            GKeyFile *const file = load(path);
            const std::string quoted = std::string("\"") + value.next() + "\"";
            g_key_file_set_value(file, kConfSection, key.c_str(), quoted.c_str());
            if (!g_key_file_save_to_file(file, path.c_str(), nullptr)) give_up("GLib: save");
            g_key_file_free(file);
            see(FileAt{path});
        });
}

void add_glib() {
    took_part("GLib", VERSION_OF_file_glib);
    for (const Place &place : places()) {
        for (const int keys : kConfSizes)
            add(ConfFile(keys), place);
    }
}

const Area glib(add_glib);

}  // namespace

}  // namespace bench
