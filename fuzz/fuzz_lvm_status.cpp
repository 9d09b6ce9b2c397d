// "/tmp/lvm.status" with whatever in it: a group that is listed can be read or is said to be damaged, and
// those that can be read and written are read back the same.
#include <morvsdk/error.h>
#include <morvsdk/lvm.h>
#include <stddef.h>
#include <string.h>

#include "input.h"

namespace {

constexpr char kFile[] = "/tmp/lvm.status";

void write_back(const MemoryRoot &root, const LVM_VG_INFO &group) {
    if (LVMStatusSet(&group) != 0) {
        expect(MLIBErrGet() == ERR_BAD_PARAMETERS);
        return;
    }
    LVM_VG_INFO *again = nullptr;
    expect(LVMVgInfoGet(group.szPath, &again) == 1);
    const LVM_PV *a = group.pPvs, *b = again->pPvs;
    for (; a && b; a = a->pNext, b = b->pNext)
        expect(strcmp(a->szPath, b->szPath) == 0 && a->status == b->status);
    expect(!a && !b);
    const std::string written = root.read(kFile);
    expect(LVMStatusSet(again) == 0 && root.read(kFile) == written);
    LVMVgInfoFree(again);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const MemoryRoot root({"/tmp"});
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    root.write(kFile, text);
    MLIBSZLIST *list = PslMLIBSzListAlloc(512);
    expect(LVMVgPathEnum(&list) == 0);
    for (int i = 0; i < list->nItem; ++i) {
        LVM_VG_INFO *group = nullptr;
        const int found = LVMVgInfoGet(list->pszItem[i], &group);
        expect(found == 1 || (found == -1 && MLIBErrGet() == ERR_FORMAT_ERROR));
        if (found != 1) continue;
        write_back(root, *group);
        LVMVgInfoFree(group);
        root.write(kFile, text);
    }
    MLIBSzListFree(list);
    return 0;
}
