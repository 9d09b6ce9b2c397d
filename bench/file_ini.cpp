// libini_config: parses the whole file and serialises it into memory; writing it durably is left to its user,
// who does it the bare way.
#include "file_bench.h"

// Its headers are plain C, and the second needs what the first includes.
extern "C" {
#include <ini_configobj.h>

#include <ini_configmod.h>
#include <simplebuffer.h>
}

namespace bench {

namespace {

void check(int error) {
    if (error) give_up("libini_config");
}

void add(const ConfFile &conf, const Place &place) {
    const std::string path = conf.put(place, "ini");
    std::string expected = conf.changed(NewValue::kFirst);
    for (size_t at = 0; (at = expected.find('=', at)) != expected.npos; at += 3)
        expected.replace(at, 1, " = ");  // as it writes pairs
    compare(conf.name("set_key", place), expected)
        .side("ini", [=, key = conf.key, value = NewValue()](auto see) mutable {
            ini_cfgobj *config = nullptr;
            ini_cfgfile *file = nullptr;
            simplebuffer *content = nullptr;
            check(ini_config_create(&config));
            check(ini_config_file_open(path.c_str(), 0, &file));
            check(ini_config_parse(file, INI_STOP_ON_NONE, 0, INI_PARSE_NOWRAP, config));
            ini_config_file_destroy(file);
            const std::string quoted = std::string("\"") + value.next() + "\"";
            check(ini_config_add_str_value(config, kConfSection, key.c_str(), quoted.c_str(), nullptr, 0, 80,
                                           0, nullptr, 0, INI_VA_MOD_E));
            check(simplebuffer_alloc(&content));
            check(ini_config_serialize(config, content));
            const auto *const text = reinterpret_cast<const char *>(simplebuffer_get_buf(content));
            replace_bare(path, {{text, simplebuffer_get_len(content)}});
            simplebuffer_free(content);
            ini_config_destroy(config);
            see(FileAt{path});
        });
}

void add_ini() {
    took_part("libini_config", VERSION_OF_file_ini);
    for (const Place &place : places()) {
        if (!place.in_memory()) continue;  // a disk hides what differs
        for (const int keys : kConfSizes)
            add(ConfFile(keys), place);
    }
}

const Area ini(add_ini);

}  // namespace

}  // namespace bench
