#include <gtest/gtest.h>
#include <morvsdk/error.h>
#include <morvsdk/internal/hash.h>
#include <string.h>

#include <memory>
#include <string>

#include "support/alloc_fault.h"
#include "support/refused.h"

using namespace testing_support;

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

TEST(Hash, TakesStringsThatLieInItself) {
    Hash hash;
    hash.set("a", "the value of a");
    const int at = MLIBIGetLookDict(hash, "a");
    EXPECT_EQ(MLIBSzHashSetValue(&hash, hash->bucket[at].pszKey, hash->bucket[at].pszValue + 4), at);
    EXPECT_EQ(hash.get("a"), "value of a");
    // Through every rebuild that growth brings, both as a key and as a value.
    for (int i = 0; i < 300; ++i) {
        const std::string key = "copy " + std::to_string(i);
        hash.set(key, key);
        const char *const own = hash->bucket[MLIBIGetLookDict(hash, key.c_str())].pszKey;
        ASSERT_GE(MLIBSzHashSetValue(&hash, own + 1, own), 0);
        ASSERT_EQ(hash.get(key.substr(1)), key);
    }
    const char *removed = SzMLIBSzHashGetValue(hash, "copy 7");
    PslSzHashRemoveAll(hash);
    // Their room is free now, and the first store would write over them.
    hash.set("x", std::string(size_t(removed - hash->pNextFree) - 8, 'x'));
    ASSERT_STREQ(removed, "copy 7");
    EXPECT_GE(MLIBSzHashSetValue(&hash, "a longer key", removed), 0);
    EXPECT_EQ(hash.get("a longer key"), "copy 7");
}

TEST(Hash, TakesOneHugeValueThatTheEstimateCouldNotMultiply) {
    Hash hash;
    const std::string huge(64 << 20, 'x');
    EXPECT_GE(hash.set("huge", huge), 0);
    EXPECT_EQ(hash->nSize, 512 + 5 + (64 << 20) + 1) << "31 such values are beyond any block";
    EXPECT_GE(hash.set("next", huge), 0);
    EXPECT_EQ(hash.get("huge").size(), huge.size());
}

TEST(Hash, AnswersBadArgumentsWithoutACode) {
    Hash hash;
    MLIBSZHASH *none = nullptr;
    hash.set("a", "1");
    MLIBErrSet(ERR_UNKNOWN);
    const int results[] = {
        MLIBSzHashSetValue(nullptr, "a", "1"),   MLIBSzHashSetValue(&none, "a", "1"),
        MLIBSzHashSetValue(&hash, nullptr, "1"), MLIBSzHashSetValue(&hash, "a", nullptr),
        MLIBSzHashEnumKey(nullptr, nullptr),     MLIBSzHashGetLength(nullptr),
    };
    for (const int result : results)
        EXPECT_EQ(result, -1);
    const char *const texts[] = {
        SzMLIBSzHashGetValue(nullptr, "a"),   SzMLIBSzHashGetValue(hash, nullptr),
        SzMLIBSzHashGetValue(hash, "A"),      SzMLIBSzHashRemoveKey(nullptr, "a"),
        SzMLIBSzHashRemoveKey(hash, nullptr), SzMLIBSzHashRemoveKey(hash, "A"),
    };
    for (const char *text : texts)
        EXPECT_EQ(text, nullptr);
    EXPECT_EQ(PslSzHashRemoveAll(nullptr), nullptr);
    MLIBSzHashFree(nullptr);
    EXPECT_EQ(MLIBErrGet(), ERR_UNKNOWN);
    EXPECT_EQ(MLIBSzHashGetLength(hash), 1);
    EXPECT_EQ(MLIBSzHashPairNum(nullptr), -1) << "but this one sets it";
    EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
    EXPECT_STREQ(MORVErrorGetFile(), "hash_pair_num");
    EXPECT_EQ(hash.get("a"), "1");
}

TEST(Hash, KeepsItsPairsWhenMemoryFails) {
    for (const char *const key : {"one more", "3", "no hash"}) {
        SCOPED_TRACE(key);
        Hash hash;
        for (int i = 0; i < 20; ++i)
            hash.set(std::to_string(i), "value");
        MLIBSZHASH *const block = hash;
        const std::string value(1000, 'v');
        const bool allocating = strcmp(key, "no hash") == 0;
        AllocFault fault(1);
        const bool failed =
            allocating ? !PshMLIBSzHashAlloc(0) : MLIBSzHashSetValue(&hash, key, value.c_str()) == -1;
        ASSERT_TRUE(AllocFault::disarm());
        EXPECT_TRUE(failed);
        EXPECT_EQ(MLIBErrGet(), ERR_OUT_OF_MEMORY);
        EXPECT_STREQ(MORVErrorGetFile(), allocating ? "hash_allocator" : "hash_set_value");
        EXPECT_EQ(hash, block);
        EXPECT_EQ(MLIBSzHashPairNum(hash), 20);
        EXPECT_EQ(hash.get("3"), "value");
    }
}

TEST(HashInternals, GrowOnlyWhenTheyMust) {
    const struct {
        const char *value;  // of the one pair, if any
        int needed, size;
    } cases[] = {{nullptr, 511, 512},
                 {nullptr, 512, 512 + 31 * 512 + 512},
                 {"v", 507, 512},
                 {"v", 508, 512 + 30 * 512 + 508}};  // room must be left over
    for (const auto &c : cases) {
        SCOPED_TRACE(c.needed);
        Hash hash;
        if (c.value) hash.set("k", c.value);
        MLIBSZHASH *const block = hash;
        *&hash = PshMLIBICheckSpace(hash, c.needed);
        EXPECT_EQ(hash->nSize, c.size);
        EXPECT_EQ(hash == block, c.size == 512);
        EXPECT_EQ(hash->nBucket, 31);
        EXPECT_EQ(hash.get("k"), c.value ? c.value : "(none)");
    }
}

TEST(HashInternals, RefuseArgumentsThatTheyCannotTake) {
    Hash hash;
    hash.set("a", "1");
    int taken = MLIBISetLookDict(hash, "a"), free = MLIBISetLookDict(hash, "b"), beyond = 31, below = -1;
    const std::string huge_value(600, 'x');
    const char *const huge = huge_value.c_str();
    MLIBErrSet(ERR_SUCCESS);
    const Refused stores[] = {
        PshMLIBIUpdateValue(hash, "b", "1", &free),     PshMLIBIUpdateValue(hash, "b", "1", &taken),
        PshMLIBIUpdateValue(hash, "a", "1", &beyond),   PshMLIBIInsertNewPair(hash, "b", "1", &taken),
        PshMLIBIInsertNewPair(hash, "b", "1", &beyond), PshMLIBIInsertNewPair(hash, "b", "1", &below),
    };
    const Refused pairs[] = {
        (MLIBIInsertPair(hash, "b", "1", taken), -1),
        (MLIBIInsertPair(hash, "b", "1", beyond), -1),
        (MLIBIInsertPair(hash, "b", huge, free), -1),
        (MLIBICopyHash(nullptr, hash), -1),
        (MLIBICopyHash(hash, nullptr), -1),
        PshMLIBIReSizeHash(hash, 0, 512),
        PshMLIBIReSizeHash(hash, 31, -1),
        PshMLIBIHashAllocator(0, 1),
        PshMLIBIHashAllocator(1, -1),
        PshMLIBICheckSpace(nullptr, 1),
        PshMLIBICheckSpace(hash, -1),
    };
    EXPECT_EQ(hash->nPair, 1);
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
    from.set("c", "too long");  // by a byte
    MLIBICopyHash(from, to);
    EXPECT_EQ(MLIBErrGet(), ERR_NOT_ENOUGH_MEMORY);
    EXPECT_EQ(to->nPair, 2);
}

TEST(HashInternals, StoreInTheBucketThatIsGiven) {
    Hash hash;
    int index = MLIBISetLookDict(hash, "a");
    *&hash = PshMLIBIInsertNewPair(hash, "a", "1", &index);
    EXPECT_EQ(hash.get("a"), "1");
    MLIBIInsertPair(hash, "b", "2", MLIBISetLookDict(hash, "b"));
    EXPECT_EQ(hash.get("b"), "2");
    *&hash = PshMLIBIUpdateValue(hash, "a", std::string(600, 'y').c_str(), &index);
    EXPECT_EQ(index, MLIBIGetLookDict(hash, "a"));
    EXPECT_EQ(hash.get("a").size(), 600U);
}

}  // namespace
