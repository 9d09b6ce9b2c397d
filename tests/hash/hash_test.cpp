#include <gtest/gtest.h>
#include <morvsdk/error.h>
#include <morvsdk/internal/hash.h>
#include <morvsdk/list.h>
#include <string.h>

#include <memory>
#include <string>

#include "support/alloc_fault.h"

using testing_support::AllocFault;

namespace {

// A hash that is freed at the end; passes itself as the handle.
class Hash {
  public:
    explicit Hash(MLIBSZHASH *hash = PshMLIBSzHashAlloc(0)) : hash_(hash) {}
    ~Hash() { MLIBSzHashFree(hash_); }
    Hash(const Hash &) = delete;
    Hash &operator=(const Hash &) = delete;
    operator MLIBSZHASH *() const { return hash_; }
    MLIBSZHASH *operator->() const { return hash_; }
    MLIBSZHASH **operator&() { return &hash_; }

    int set(const std::string &key, const std::string &value) {
        return MLIBSzHashSetValue(&hash_, key.c_str(), value.c_str());
    }
    std::string get(const std::string &key) const {
        const char *value = SzMLIBSzHashGetValue(hash_, key.c_str());
        return value ? value : "(none)";
    }

  private:
    MLIBSZHASH *hash_;
};

TEST(Hash, StartsWith31BucketsAndAtLeast512Bytes) {
    for (const int asked : {-1, 0, 511, 512, 513, 100000}) {
        const Hash hash(PshMLIBSzHashAlloc(asked));
        EXPECT_EQ(hash->nBucket, 31);
        EXPECT_EQ(hash->nSize, std::max(asked, 512));
        EXPECT_EQ(hash->nFree, hash->nSize);
        EXPECT_EQ(hash->nPair, 0);
        EXPECT_EQ(hash->pNextFree, reinterpret_cast<char *>(hash->bucket + 31));
    }
}

TEST(Hash, HomeOfAKeyIsTheSameOnEveryMachine) {
    const struct {
        const char *key;
        int buckets, home;
    } cases[] = {
        {"a", 31, 2},
        {"abcd", 31, 5},
        {"abcde", 31, 9},
        {"", 31, 0},
        {"\xff\xff\xff\xff", 31, 3},  // 2^32 - 1
        {"a", 1, 0},
        {"\xff\xff\xff\xff\x80", 31, 0x7fffffff % 31},
        {"a", 0, -1},
        {"a", -5, -1},
        {nullptr, 31, -1},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.key ? c.key : "null");
        EXPECT_EQ(MLIBIRadixHashCode(c.key, c.buckets), c.home);
    }
}

TEST(Hash, WritesAShorterValueOverTheOldOne) {
    Hash hash;
    EXPECT_EQ(hash.set("a", "longer"), 2);
    const char *at = SzMLIBSzHashGetValue(hash, "a");
    const int left = hash->nFree;
    EXPECT_EQ(left, 512 - 2 - 7);
    EXPECT_EQ(hash.set("a", "short"), 2);
    EXPECT_EQ(SzMLIBSzHashGetValue(hash, "a"), at);
    EXPECT_EQ(hash->nFree, left);
    EXPECT_EQ(hash->nPair, 1);
    EXPECT_EQ(hash.set("a", "longer"), 2) << "longer than what is stored now";
    EXPECT_NE(SzMLIBSzHashGetValue(hash, "a"), at);
    EXPECT_EQ(hash->nFree, left - 7);
}

TEST(Hash, GrowsItsBucketsBeforeAQuarterIsLeft) {
    Hash hash(PshMLIBSzHashAlloc(100000));
    int buckets = 31;
    for (int i = 0; i < 1500; ++i) {
        const float share = float(buckets - i) / float(buckets);
        if (share < 0.25F) buckets = 4 * buckets - 5;
        hash.set(std::to_string(i), "v");
        ASSERT_EQ(hash->nBucket, buckets) << i;
        if (i == 23 || i == 24) {
            ASSERT_EQ(hash->nBucket, i == 23 ? 31 : 119);
        }
    }
    EXPECT_EQ(hash->nBucket, 1879 * 4 - 5);
    EXPECT_EQ(hash->nSize, 100000);
}

TEST(Hash, UsesATombstoneAgainButNotAsHome) {
    Hash hash;
    std::string same[3];  // keys of one home, bucket 2
    int found = 0;
    for (char c = 1; found < 3; ++c) {
        for (const char first : {'k', 'l', 'm'}) {
            const std::string key = {first, c};
            if (found < 3 && MLIBIRadixHashCode(key.c_str(), 31) == 2) same[found++] = key;
        }
    }
    EXPECT_EQ(hash.set(same[0], "0"), 2);
    EXPECT_EQ(hash.set(same[1], "1"), 3);
    EXPECT_EQ(hash.set(same[2], "2"), 4);

    EXPECT_STREQ(SzMLIBSzHashRemoveKey(hash, same[1].c_str()), "1");
    EXPECT_EQ(hash->nPair, 2);
    EXPECT_EQ(hash.get(same[2]), "2") << "a search walks past the tombstone";
    EXPECT_EQ(hash.set(same[1], "again"), 3);

    EXPECT_STREQ(SzMLIBSzHashRemoveKey(hash, same[0].c_str()), "0");
    EXPECT_EQ(hash.set(same[0], "again"), 5) << "its home is a tombstone";
    EXPECT_EQ(SzMLIBSzHashRemoveKey(hash, "absent"), nullptr);
}

TEST(Hash, IsEmptiedWithoutLosingItsBlock) {
    Hash hash;
    for (int i = 0; i < 100; ++i)
        hash.set(std::to_string(i), "value");
    MLIBSZHASH *const block = hash;
    const int buckets = hash->nBucket, size = hash->nSize;
    EXPECT_EQ(PslSzHashRemoveAll(hash), block);
    EXPECT_EQ(MLIBSzHashEnumKey(hash, nullptr), 0);
    EXPECT_EQ(hash->nBucket, buckets);
    EXPECT_EQ(hash->nFree, size);
    for (int i = 0; i < 50; ++i)
        EXPECT_GE(hash.set(std::to_string(i), "new"), 0);
    EXPECT_EQ(hash, block);
    EXPECT_EQ(hash.get("49"), "new");
    EXPECT_EQ(hash.get("50"), "(none)");
    EXPECT_EQ(PslSzHashRemoveAll(nullptr), nullptr);
}

TEST(Hash, TakesStringsThatLieInItself) {
    Hash hash;
    hash.set("a", "the value of a");
    // Through every rebuild that growth brings.
    for (int i = 0; i < 300; ++i) {
        const std::string key = "copy " + std::to_string(i);
        const std::string last = i == 0 ? "a" : "copy " + std::to_string(i - 1);
        ASSERT_GE(MLIBSzHashSetValue(&hash, key.c_str(), SzMLIBSzHashGetValue(hash, last.c_str())), 0);
        ASSERT_EQ(hash.get(key), "the value of a");
    }
    const int index = MLIBIGetLookDict(hash, "a");
    EXPECT_GE(MLIBSzHashSetValue(&hash, hash->bucket[index].pszKey, hash->bucket[index].pszValue + 4), 0);
    EXPECT_EQ(hash.get("a"), "value of a");
    for (int i = 0; i < 40; ++i) {
        const std::string key = "copy " + std::to_string(i);
        ASSERT_GE(MLIBSzHashSetValue(&hash, key.c_str(), SzMLIBSzHashRemoveKey(hash, key.c_str())), 0);
        ASSERT_EQ(hash.get(key), "the value of a");
    }

    const char *removed = SzMLIBSzHashGetValue(hash, "copy 7");
    PslSzHashRemoveAll(hash);
    // Their room is free now, and the first store would write over them.
    hash.set("x", std::string(size_t(removed - hash->pNextFree) - 8, 'x'));
    ASSERT_EQ(std::string(removed), "the value of a");
    EXPECT_GE(MLIBSzHashSetValue(&hash, "a longer key", removed), 0);
    EXPECT_EQ(hash.get("a longer key"), "the value of a");
}

TEST(Hash, TakesOneHugeValueThatTheEstimateCouldNotMultiply) {
    Hash hash;
    const std::string huge(64 << 20, 'x');
    EXPECT_GE(hash.set("huge", huge), 0);
    EXPECT_EQ(hash->nSize, 512 + 5 + (64 << 20) + 1) << "31 such values are beyond any block";
    hash.set("small", "value");
    EXPECT_GE(hash.set("next", huge), 0);
    EXPECT_EQ(hash.get("huge").size(), huge.size());
    EXPECT_EQ(hash.get("small"), "value");
}

TEST(Hash, AnswersBadArguments) {
    Hash hash;
    MLIBSZHASH *none = nullptr;
    hash.set("a", "1");
    MLIBErrSet(ERR_UNKNOWN);
    EXPECT_EQ(MLIBSzHashSetValue(nullptr, "a", "1"), -1);
    EXPECT_EQ(MLIBSzHashSetValue(&none, "a", "1"), -1);
    EXPECT_EQ(MLIBSzHashSetValue(&hash, nullptr, "1"), -1);
    EXPECT_EQ(MLIBSzHashSetValue(&hash, "a", nullptr), -1);
    EXPECT_EQ(SzMLIBSzHashGetValue(nullptr, "a"), nullptr);
    EXPECT_EQ(SzMLIBSzHashGetValue(hash, nullptr), nullptr);
    EXPECT_EQ(SzMLIBSzHashGetValue(hash, "b"), nullptr);
    EXPECT_EQ(SzMLIBSzHashGetValue(hash, "A"), nullptr) << "case matters";
    EXPECT_EQ(SzMLIBSzHashRemoveKey(nullptr, "a"), nullptr);
    EXPECT_EQ(SzMLIBSzHashRemoveKey(hash, nullptr), nullptr);
    EXPECT_EQ(MLIBSzHashEnumKey(nullptr, nullptr), -1);
    EXPECT_EQ(MLIBSzHashGetLength(nullptr), -1);
    EXPECT_EQ(MLIBSzHashGetLength(hash), 1);
    EXPECT_EQ(MLIBSzHashPairNum(hash), 1);
    MLIBSzHashFree(nullptr);
    EXPECT_EQ(MLIBErrGet(), ERR_UNKNOWN) << "none of them sets a code";
    EXPECT_EQ(MLIBSzHashPairNum(nullptr), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
    EXPECT_STREQ(MORVErrorGetFile(), "hash_pair_num");
    EXPECT_EQ(hash.get("a"), "1");
}

TEST(Hash, KeepsItsPairsWhenMemoryFails) {
    for (const auto &[key, value] :
         {std::pair{"one more", std::string(1000, 'v')}, {"3", std::string(1000, 'w')}}) {
        Hash hash;
        for (int i = 0; i < 20; ++i)
            hash.set(std::to_string(i), "value");
        MLIBSZHASH *const block = hash;
        int result;
        bool reached;
        {
            AllocFault fault(1);
            result = MLIBSzHashSetValue(&hash, key, value.c_str());
            reached = AllocFault::disarm();
        }
        ASSERT_TRUE(reached);
        EXPECT_EQ(result, -1);
        EXPECT_EQ(MLIBErrGet(), ERR_OUT_OF_MEMORY);
        EXPECT_STREQ(MORVErrorGetFile(), "hash_set_value");
        EXPECT_EQ(hash, block);
        EXPECT_EQ(MLIBSzHashPairNum(hash), 20);
        EXPECT_EQ(hash.get("3"), "value");
    }
    AllocFault fault(1);
    MLIBSZHASH *const none = PshMLIBSzHashAlloc(0);
    AllocFault::disarm();
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(MLIBErrGet(), ERR_OUT_OF_MEMORY);
    EXPECT_STREQ(MORVErrorGetFile(), "hash_allocator");
}

TEST(HashInternals, GrowOnlyWhenTheyMust) {
    Hash hash;
    MLIBSZHASH *const block = hash;
    EXPECT_EQ(PshMLIBICheckSpace(hash, 511), block);
    hash.set("k", "v");
    EXPECT_EQ(PshMLIBICheckSpace(hash, 507), block);
    EXPECT_EQ(hash->nFree, 508);
    MLIBSZHASH *grown = PshMLIBICheckSpace(hash, 508);  // room must be left over
    *&hash = grown;
    EXPECT_EQ(hash->nSize, 512 + 30 * 512 + 508);
    EXPECT_EQ(hash->nBucket, 31);
    EXPECT_EQ(hash.get("k"), "v");

    Hash empty;
    *&empty = PshMLIBICheckSpace(empty, 512);
    EXPECT_EQ(empty->nSize, 512 + 31 * 512 + 512);
    EXPECT_EQ(PshMLIBICheckSpace(nullptr, 1), nullptr);
    EXPECT_EQ(PshMLIBICheckSpace(empty, -1), nullptr);
    EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
}

TEST(HashInternals, RebuildWithoutLosingAPair) {
    Hash hash;
    for (int i = 0; i < 20; ++i)
        hash.set("key" + std::to_string(i), "value");
    SzMLIBSzHashRemoveKey(hash, "key3");
    const int used = 9 * 5 + 10 * 6 + 19 * 6;
    MLIBSZHASH *const block = hash;
    EXPECT_EQ(PshMLIBIReSizeHash(hash, 18, used), nullptr);
    EXPECT_EQ(PshMLIBIReSizeHash(hash, 19, used - 1), nullptr);
    EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
    EXPECT_EQ(hash, block);
    *&hash = PshMLIBIReSizeHash(hash, 19, used);
    EXPECT_EQ(hash->nFree, 0);
    EXPECT_EQ(hash->nPair, 19);
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(hash.get("key" + std::to_string(i)), i == 3 ? "(none)" : "value");
    EXPECT_EQ(hash.get("absent"), "(none)") << "a search ends in a table without a free bucket";
    EXPECT_EQ(MLIBISetLookDict(hash, "absent"), -1);
    EXPECT_EQ(hash.set("absent", "x"), -1);
}

TEST(HashInternals, CopyPairsIntoAnotherHash) {
    Hash from, to(PshMLIBIHashAllocator(7, 20));
    from.set("a", "1");
    from.set("b", "2");
    to.set("b", "old");
    MLIBErrSet(ERR_UNKNOWN);
    MLIBICopyHash(from, to);
    EXPECT_EQ(MLIBErrGet(), ERR_UNKNOWN);
    EXPECT_EQ(to->nPair, 2);
    EXPECT_EQ(to.get("a") + to.get("b"), "12");
    from.set("c", "a value that does not fit");
    MLIBICopyHash(from, to);
    EXPECT_EQ(MLIBErrGet(), ERR_NOT_ENOUGH_MEMORY);
    EXPECT_EQ(to->nPair, 2);
}

TEST(HashInternals, StoreOnlyInTheBucketThatSuits) {
    Hash hash;
    int index = MLIBISetLookDict(hash, "a");
    EXPECT_EQ(PshMLIBIUpdateValue(hash, "a", "1", &index), nullptr) << "no such key yet";
    *&hash = PshMLIBIInsertNewPair(hash, "a", "1", &index);
    EXPECT_EQ(hash.get("a"), "1");
    EXPECT_EQ(PshMLIBIInsertNewPair(hash, "b", "1", &index), nullptr) << "the bucket is taken";
    EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
    MLIBIInsertPair(hash, "b", "1", index);
    EXPECT_EQ(hash->nPair, 1);
    MLIBIInsertPair(hash, "b", std::string(600, 'x').c_str(), MLIBISetLookDict(hash, "b"));
    EXPECT_EQ(hash->nPair, 1) << "no room";
    MLIBIInsertPair(hash, "b", "2", MLIBISetLookDict(hash, "b"));
    EXPECT_EQ(hash.get("b"), "2");
    *&hash = PshMLIBIUpdateValue(hash, "a", std::string(600, 'y').c_str(), &index);
    EXPECT_EQ(index, MLIBIGetLookDict(hash, "a"));
    EXPECT_EQ(hash.get("a").size(), 600U);
}

}  // namespace
