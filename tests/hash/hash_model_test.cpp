// The hash against a model: a plain map for what it holds, and the rules of placement and growth stated a
// second time, with other means, for where it holds it.
#include <gtest/gtest.h>
#include <morvsdk/internal/hash.h>
#include <morvsdk/list.h>

#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;

class Model {
  public:
    explicit Model(int size) : size_(size), free_(size), slots_(31) {}

    void set(const std::string &key, const std::string &value) {
        values_[key] = value;
        if (Slot &slot = slots_[place(key)]; slot.state == Slot::kLive) {
            if (value.size() <= slot.value.size()) {
                slot.value = value;
                return;
            }
            make_room(value.size() + 1);
            slots_[place(key)].value = value;
            free_ -= value.size() + 1;
        } else {
            make_room(key.size() + value.size() + 2);
            slots_[place(key)] = {Slot::kLive, key, value};
            free_ -= key.size() + value.size() + 2;
            ++pairs_;
        }
    }

    void remove(const std::string &key) {
        if (values_.erase(key) == 0) return;
        slots_[place(key)].state = Slot::kRemoved;
        --pairs_;
    }

    void remove_all() {
        values_.clear();
        for (Slot &slot : slots_)
            if (slot.state == Slot::kLive) slot.state = Slot::kRemoved;
        pairs_ = 0;
        free_ = size_;
    }

    std::optional<std::string> get(const std::string &key) const {
        const auto found = values_.find(key);
        if (found == values_.end()) return std::nullopt;
        return found->second;
    }

    Pairs in_order() const {
        Pairs pairs;
        for (const Slot &slot : slots_)
            if (slot.state == Slot::kLive) pairs.emplace_back(slot.key, slot.value);
        return pairs;
    }

    size_t place(const std::string &key) const {
        const size_t home = home_of(key);
        if (slots_[home].state == Slot::kUnused) return home;
        // Everything that a probe can meet, up to the first bucket never used.
        std::vector<size_t> probed = {home};
        for (size_t step = 1; step < slots_.size(); ++step) {
            probed.push_back((home + step) % slots_.size());
            if (slots_[probed.back()].state == Slot::kUnused) break;
        }
        for (const size_t at : probed)
            if (slots_[at].state == Slot::kLive && slots_[at].key == key) return at;
        for (size_t i = 1; i < probed.size(); ++i)
            if (slots_[probed[i]].state != Slot::kLive) return probed[i];
        throw std::logic_error("the table is full");
    }

    int64_t size() const { return size_; }
    int64_t free() const { return free_; }
    size_t buckets() const { return slots_.size(); }
    int pairs() const { return pairs_; }

  private:
    struct Slot {
        enum { kUnused, kLive, kRemoved } state = kUnused;
        std::string key, value;
    };

    size_t home_of(std::string key) const {
        key.resize((key.size() + 3) / 4 * 4);
        uint64_t sum = 0;
        uint64_t weight = 1 << 24;
        for (const char c : key) {
            sum += weight * static_cast<unsigned char>(c);
            weight = weight == 1 ? 1 << 24 : weight >> 8;
        }
        return sum % (uint64_t{1} << 32) % slots_.size();
    }

    void make_room(int64_t needed) {
        const bool crowded = 4 * (slots_.size() - size_t(pairs_)) < slots_.size();
        if (!crowded && free_ > needed) return;
        const size_t buckets = crowded ? slots_.size() * 4 - 5 : slots_.size();
        if (free_ <= needed) {
            const int64_t each = pairs_ == 0 ? needed : int64_t(double(size_) / pairs_);
            size_ += (int64_t(slots_.size()) - pairs_) * each + needed;
        }
        const Pairs pairs = in_order();
        slots_.assign(buckets, {});
        free_ = size_;
        for (const auto &[key, value] : pairs) {
            slots_[place(key)] = {Slot::kLive, key, value};
            free_ -= key.size() + value.size() + 2;
        }
    }

    int64_t size_, free_;
    int pairs_ = 0;
    std::vector<Slot> slots_;
    std::map<std::string, std::string> values_;
};

Pairs in_order(const MLIBSZHASH *hash) {
    Pairs pairs;
    for (int32_t i = 0; i < hash->nBucket; ++i) {
        if (hash->bucket[i].pszKey) pairs.emplace_back(hash->bucket[i].pszKey, hash->bucket[i].pszValue);
    }
    return pairs;
}

void expect_same(const MLIBSZHASH *hash, const Model &model) {
    ASSERT_EQ(size_t(hash->nBucket), model.buckets());
    ASSERT_EQ(hash->nPair, model.pairs());
    ASSERT_EQ(hash->nSize, model.size());
    ASSERT_EQ(hash->nFree, model.free());
    ASSERT_EQ(in_order(hash), model.in_order());
    const char *area = reinterpret_cast<const char *>(hash->bucket + hash->nBucket);
    ASSERT_EQ(hash->pNextFree - area, hash->nSize - hash->nFree);
}

class HashModel : public testing::TestWithParam<int> {};

TEST_P(HashModel, AgreesAfterEveryOneOfManyRandomOperations) {
    std::mt19937 random{uint32_t(GetParam())};
    const auto below = [&](int n) { return int(random() % uint32_t(n)); };
    const auto text = [&](int longest) {
        std::string s(size_t(below(longest + 1)), ' ');
        for (char &c : s)
            c = char(1 + below(255));
        return s;
    };
    // Few keys bring updates and tombstones, many bring growth.
    std::vector<std::string> keys(size_t(10 + below(GetParam() % 4 ? 600 : 1600)));
    for (std::string &key : keys)
        key = text(below(10) == 0 ? 40 : 6);

    MLIBSZHASH *hash = PshMLIBSzHashAlloc(GetParam());
    Model model(512);
    const char *removed = nullptr;
    for (int step = 0; step < 4000; ++step) {
        SCOPED_TRACE(step);
        const std::string &key = keys[size_t(below(int(keys.size())))];
        const int what = below(1000);
        if (what == 0) {
            ASSERT_EQ(PslSzHashRemoveAll(hash), hash);
            model.remove_all();
        } else if (what < 300) {
            const std::optional<std::string> expected = model.get(key);
            const char *const was = SzMLIBSzHashRemoveKey(hash, key.c_str());
            ASSERT_EQ(was ? std::optional<std::string>(was) : std::nullopt, expected);
            model.remove(key);
            if (was) removed = was;
            continue;
        } else {
            // A value of the hash itself, in it or just removed from it, is as good as another.
            const std::string own = text(what < 310 ? 3000 : 30);
            const char *const other = SzMLIBSzHashGetValue(hash, keys[size_t(below(10))].c_str());
            const char *const from = what < 600 ? own.c_str() : removed ? removed : other;
            const std::string value = from ? from : own;
            const int index = MLIBSzHashSetValue(&hash, key.c_str(), from ? from : own.c_str());
            model.set(key, value);
            ASSERT_EQ(size_t(index), model.place(key));
            ASSERT_STREQ(hash->bucket[index].pszValue, value.c_str());
        }
        removed = nullptr;
        const std::string &other = keys[size_t(below(int(keys.size())))];
        const char *found = SzMLIBSzHashGetValue(hash, other.c_str());
        ASSERT_EQ(found ? std::optional<std::string>(found) : std::nullopt, model.get(other));
        ASSERT_EQ(MLIBIGetLookDict(hash, other.c_str()), found ? int(model.place(other)) : -1);
        ASSERT_EQ(MLIBSzHashPairNum(hash), model.pairs());
        if (step % 16 == 0) {
            ASSERT_NO_FATAL_FAILURE(expect_same(hash, model));
        }
    }
    expect_same(hash, model);

    MLIBSZLIST *list = PslMLIBSzListAlloc(0);
    ASSERT_EQ(MLIBSzHashEnumKey(hash, &list), model.pairs());
    const Pairs pairs = model.in_order();
    for (size_t i = 0; i < pairs.size(); ++i)
        EXPECT_EQ(SzMLIBSzListGet(list, int(i)), pairs[i].first);
    MLIBSzListFree(list);
    MLIBSzHashFree(hash);
}

INSTANTIATE_TEST_SUITE_P(Seeds, HashModel, testing::Range(1, 13));

}  // namespace
