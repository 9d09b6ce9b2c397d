#include <fcntl.h>
#include <morvsdk/log.h>
#include <sys/stat.h>

#include "core/base/fail.h"
#include "core/base/no_throw.h"
#include "core/store/ring.h"
#include "log/event_texts.h"
#include "log/log_file.h"

using namespace morv;

namespace {

using Each = int (*)(const MORV_LOG_EVENT *, void *);

// A record as the caller gets it, its texts ended by zeros.
class Event {
  public:
    // Answers false when the texts do not fit into the record.
    bool take(const RingWalk &walk) {
        EventFields fields;
        if (!parse_event(walk.record().substr(2), fields)) return false;
        texts_.clear();
        const std::string_view parts[] = {fields.program,      fields.user,         fields.arguments[0],
                                          fields.arguments[1], fields.arguments[2], fields.arguments[3]};
        size_t begins[std::size(parts)];
        for (size_t i = 0; i < std::size(parts); ++i) {
            begins[i] = texts_.size();
            texts_.append(parts[i]) += '\0';
        }
        event_ = {fields.time,   fields.event,
                  fields.type,   uint16_t(walk.record().size()),
                  walk.offset(), at(begins[0]),
                  at(begins[1]), {at(begins[2]), at(begins[3]), at(begins[4]), at(begins[5])}};
        return true;
    }
    const MORV_LOG_EVENT &get() const noexcept { return event_; }

  private:
    const char *at(size_t begin) const noexcept { return texts_.data() + begin; }

    std::string texts_;
    MORV_LOG_EVENT event_;
};

int load_ring(const char *path, RingSnapshot &ring, MORV_LOG_STATE &state) noexcept {
    OpenLog log;
    if (int code = log.open(path, O_RDONLY)) return code;
    struct stat st;
    if (fstat(log.fd(), &st) != 0) return ERR_READ_FAILED;
    state.generation = st.st_ino ^ (uint64_t{st.st_dev} << 32);
    const int code = ring.load(log.fd());
    return code == ERR_STAT_FAILED ? int{ERR_READ_FAILED} : code;
}

int enumerate(const char *path, Each each, void *context, MORV_LOG_STATE &state, int &given) {
    RingSnapshot ring;
    if (int code = load_ring(path, ring, state)) return code;
    state.size = ring.file_size();
    state.head = ring.head();
    state.tail = ring.tail();
    if (!ring.tail_is_sound()) state.damage = kRingTailAt;
    if (!ring.head_is_sound()) state.damage = kRingHeadAt;
    const auto damaged_at = [&state](int32_t offset) {
        if (offset != 0 && state.damage == 0) state.damage = offset;
    };
    bool wanted = each != nullptr;
    Event event;
    RingWalk walk(ring, RingWalk::kGoOn);
    while (walk.next()) {
        damaged_at(walk.damage());
        if (!event.take(walk)) {
            damaged_at(walk.offset());
            continue;
        }
        ++state.records;
        if (!wanted) continue;
        ++given;
        wanted = each(&event.get(), context) == 0;
    }
    damaged_at(walk.damage());
    return 0;
}

}  // namespace

extern "C" int MORVLogEnum(const char *path, int (*each)(const MORV_LOG_EVENT *event, void *context),
                           void *context, MORV_LOG_STATE *pState) noexcept {
    if (!path) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    MORV_LOG_STATE state = {};
    int given = 0;
    if (int code = no_throw([&] { return enumerate(path, each, context, state, given); }))
        return MORV_FAIL(code, -1);
    if (pState) *pState = state;
    return given;
}
