// Augeas with its lens for lines "key=value". One handle serves all calls, so that its lenses are read once
// only: what is measured is loading (it looks whether the file has changed), setting and saving.
#include <augeas.h>

#include <memory>

#include "file_bench.h"

namespace bench {

namespace {

void add(const ConfFile &conf, const Place &place) {
    const size_t header = conf.content.find('\n') + 1;
    const std::string path = place.folder + "/augeas" + std::to_string(conf.keys) + ".conf";
    write_file(path, conf.content.substr(header));
    const std::shared_ptr<augeas> handle(aug_init("/", nullptr, AUG_NO_LOAD | AUG_NO_MODL_AUTOLOAD),
                                         aug_close);
    if (!handle || aug_transform(handle.get(), "Simplevars.lns", path.c_str(), 0) != 0)
        give_up("Augeas: start");
    compare(conf.name("set_key", place), conf.changed(NewValue::kFirst).substr(header))
        .side("augeas", [=, node = "/files" + path + "/" + conf.key, value = NewValue()](auto see) mutable {
            const std::string quoted = std::string("\"") + value.next() + "\"";
            if (aug_load(handle.get()) != 0 || aug_set(handle.get(), node.c_str(), quoted.c_str()) != 0 ||
                aug_save(handle.get()) != 0) {
                give_up("Augeas: set");
            }
            see(FileAt{path});
        });
}

void add_augeas() {
    took_part("Augeas", VERSION_OF_file_augeas);
    for (const Place &place : places()) {
        if (!place.in_memory()) continue;  // a disk hides what differs
        for (const int keys : kConfSizes)
            add(ConfFile(keys), place);
    }
}

const Area all(add_augeas);

}  // namespace

}  // namespace bench
