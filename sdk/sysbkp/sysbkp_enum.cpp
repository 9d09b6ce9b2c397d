#include <morvsdk/internal/sysbkp.h>
#include <string.h>

#include <algorithm>

#include "core/base/bytes.h"
#include "core/base/fail.h"
#include "sysbkp/block_info.h"
#include "sysbkp/file_window.h"
#include "sysbkp/items.h"
#include "sysbkp/preamble.h"

using namespace morv;

namespace {

constexpr int kEnded = -1;  // a visitor does not want more

// Which item of a block comes next, by what is known of its kind.
class Place {
  public:
    explicit Place(const BlockInfo &info) noexcept : info_(info) { settle(); }

    // Null behind the last item.
    const FieldInfo *field() const noexcept { return field_ < fields_.size() ? &fields_[field_] : nullptr; }
    int32_t record() const noexcept { return record_; }
    int32_t entry() const noexcept { return entry_; }

    // The item that is there has this value. Answers null, or what is wrong with it.
    const char *pass(int32_t value) noexcept {
        ++field_;
        const bool counts = field_ == fields_.size();
        if (counts && level_ == kHead && !info_.record.empty()) {
            if (value < 0) return "a count is below zero";
            records_ = value;
        } else if (counts && level_ == kRecord && !info_.entry.empty()) {
            if (value < 0) return "a count is below zero";
            entries_ = value;
        }
        settle();
        return nullptr;
    }

  private:
    enum Level { kHead, kRecord, kEntry };

    // Goes to the next list of fields that there is when one has been passed.
    void settle() noexcept {
        while (field_ >= fields_.size()) {
            if (level_ != kHead && entry_ + 1 < entries_) {
                go_to(kEntry, info_.entry);
                ++entry_;
            } else if (record_ + 1 < records_) {
                go_to(kRecord, info_.record);
                ++record_;
                entry_ = -1;
                entries_ = 0;
            } else {
                return;
            }
        }
    }

    void go_to(Level level, std::span<const FieldInfo> fields) noexcept {
        level_ = level;
        fields_ = fields;
        field_ = 0;
    }

    const BlockInfo &info_;
    std::span<const FieldInfo> fields_ = info_.head;
    Level level_ = kHead;
    size_t field_ = 0;
    int32_t records_ = 0, record_ = -1;
    int32_t entries_ = 0, entry_ = -1;
};

class Walk {
  public:
    explicit Walk(const MORVSYSBKPVISITOR &visitor) noexcept : visitor_(visitor) {}

    int run(const char *path, int32_t *mask) noexcept {
        if (const int code = file_.open(path)) return code;
        if (const int code = read_preamble(mask)) return code;
        int code = 0;
        while (code == 0 && file_.fetch(kBlockHeader))
            code = visit_block();
        if (code == 0 && file_.code() == 0 && !is_lost_ && file_.offset() < file_.size())
            code = end(nullptr, "there are bytes behind the last block");
        if (code == kEnded) code = 0;
        return code ? code : file_.code();
    }

    int blocks() const noexcept { return blocks_; }

  private:
    int read_preamble(int32_t *mask) noexcept {
        constexpr size_t kSize = sizeof kBackupMagic + 8;
        if (!file_.fetch(kSize)) return file_.code() ? file_.code() : int{ERR_FORMAT_ERROR};
        const char *const bytes = file_.ahead().data();
        if (memcmp(bytes, kBackupMagic, sizeof kBackupMagic) != 0 ||
            load_be32(bytes + sizeof kBackupMagic) != kBackupCategory)
            return ERR_FORMAT_ERROR;
        if (mask) *mask = static_cast<int32_t>(load_be32(bytes + sizeof kBackupMagic + 4));
        file_.drop(kSize);
        return 0;
    }

    int end(const MORVSYSBKPBLOCK *block, const char *problem) noexcept {
        return visitor_.end && visitor_.end(block, problem, visitor_.context) != 0 ? kEnded : 0;
    }

    int visit_block() noexcept {
        const char *const header = file_.ahead().data();
        const BlockInfo *const info = block_info(static_cast<int32_t>(load_be32(header)));
        MORVSYSBKPBLOCK block = {static_cast<int32_t>(load_be32(header)),
                                 static_cast<int32_t>(load_be32(header + 4)), load_be32(header + 8),
                                 file_.offset() + kBlockHeader, info ? info->name : nullptr};
        file_.drop(kBlockHeader);
        ++blocks_;
        if (visitor_.begin && visitor_.begin(&block, visitor_.context) != 0) return kEnded;
        if (block.size > static_cast<uint64_t>(file_.size() - block.offset)) {
            is_lost_ = true;
            left_ = static_cast<size_t>(file_.size() - block.offset);
        } else {
            left_ = block.size;
        }
        const char *problem = nullptr;
        if (!info) {
            problem = "its kind is not known";
        } else if (block.version != grgSysRoutine[MORVSysbkpIGetIdx(block.id)].version) {
            problem = "its version is not known";
        } else if (visitor_.item) {
            if (const int code = visit_items(block, *info, &problem)) return code;
        }
        if (is_lost_ && file_.code() == 0) problem = "it is cut off";
        file_.skip(block.offset + block.size - file_.offset());
        return file_.code() ? 0 : end(&block, problem);
    }

    int visit_items(const MORVSYSBKPBLOCK &block, const BlockInfo &info, const char **problem) noexcept {
        Place place(info);
        while (left_ > 0) {
            Item item;
            ItemState state = read_item(file_.ahead().substr(0, left_), left_, &item, problem);
            while (state == ItemState::kGoesOn) {
                if (!file_.fetch(item.size)) {
                    *problem = "it is cut off";
                    return 0;
                }
                state = read_item(file_.ahead().substr(0, left_), left_, &item, problem);
            }
            if (state == ItemState::kBroken) return 0;
            const FieldInfo *const field = place.field();
            if (!field || field->type != item.type) {
                *problem = field ? "an item is of another type than it should be"
                                 : "there is more behind the last item";
                return 0;
            }
            if (visit(block, *field, place, item) != 0) return kEnded;
            if ((*problem = place.pass(item.value))) return 0;
            file_.drop(item.size);
            left_ -= item.size;
        }
        if (place.field()) *problem = "it ends too early";
        return 0;
    }

    int visit(const MORVSYSBKPBLOCK &block, const FieldInfo &field, const Place &place,
              const Item &item) const noexcept {
        const MORVSYSBKPITEM seen = {field.name,
                                     item.type,
                                     item.value,
                                     item.text.empty() ? "" : item.text.data(),
                                     static_cast<int32_t>(item.text.size()),
                                     place.record(),
                                     place.entry(),
                                     field.is_secret};
        return visitor_.item(&block, &seen, visitor_.context);
    }

    const MORVSYSBKPVISITOR &visitor_;
    FileWindow file_;
    size_t left_ = 0;       // of the block's body, in bytes
    bool is_lost_ = false;  // a block is cut off: there is nothing behind it
    int blocks_ = 0;
};

}  // namespace

extern "C" int MORVSysbkpEnum(const char *path, const MORVSYSBKPVISITOR *visitor, int32_t *pMask) noexcept {
    if (!path || !visitor) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    Walk walk(*visitor);
    int32_t mask = 0;
    if (const int code = walk.run(path, &mask)) return MORV_FAIL(code, -1);
    if (pMask) *pMask = mask;
    return walk.blocks();
}
