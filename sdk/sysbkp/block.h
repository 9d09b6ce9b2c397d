// Blocks of the configuration backup: how an exporter writes one, and an importer reads one.
#pragma once

#include <string>

#include "core/base/kept_error.h"
#include "core/base/no_throw.h"
#include "sysbkp/items.h"
#include "sysbkp/report.h"

namespace morv {

// Writes a block of the kind `id` at the current position. what: the kind for the log; stem, line: of the
// exporter. Answers 0 or -1, which is logged.
int write_block(int fd, int id, const char *what, const ItemWriter &items, const char *stem,
                int line) noexcept;

// Reads the body of a block, which is all that fd holds, and looks at the version. Answers 0 or -1, which is
// told.
int read_block(int fd, int id, int version, std::string &body) noexcept;

// Tells what is wrong with items; 0 when nothing is, else -1.
int check_items(ItemReader &items) noexcept;

// An exporter: `gather` gets an ItemWriter, and answers 0 or -1. The error state stays as it was, here as in
// an importer, whatever the families' functions set.
template <class F>
int export_block(int fd, int id, const char *what, const char *stem, int line, F &&gather) noexcept {
    const KeptError before;
    const int code = no_throw([&]() -> int {
        ItemWriter items;
        return gather(items) == 0 ? write_block(fd, id, what, items, stem, line) : -1;
    });
    if (code > 0) tell_problem("%s", code_text(code));
    before.restore();
    return code == 0 ? 0 : -1;
}

// An importer: `apply` gets an ItemReader, and answers 0 or -1.
template <class F>
int import_block(int fd, int id, int version, F &&apply) noexcept {
    const KeptError before;
    const int code = no_throw([&]() -> int {
        std::string body;
        if (read_block(fd, id, version, body) != 0) return -1;
        ItemReader items(body);
        return apply(items);
    });
    if (code > 0) tell_problem("%s", code_text(code));
    before.restore();
    return code == 0 ? 0 : -1;
}

}  // namespace morv

// What every exporter begins with:
//
//     return EXPORT_BLOCK(fd, MORV_SYSBKP_HOSTNAME, "hostname", [&](ItemWriter &items) {
//         items.put_string(name);
//         return 0;
//     });
#define EXPORT_BLOCK(fd, id, what, ...) \
    ::morv::export_block((fd), (id), (what), MORV_STEM, __LINE__, __VA_ARGS__)
