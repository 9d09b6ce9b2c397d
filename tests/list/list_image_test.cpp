#include "list_model.h"
#include "support/alloc_fault.h"

using namespace list_testing;
using testing_support::AllocFault;

namespace {

uint32_t field(const Image &image, size_t at) {
    uint32_t value;
    memcpy(&value, image.data() + at, sizeof value);
    return value;
}

Image with(Image image, size_t at, uint32_t value) {
    memcpy(image.data() + at, &value, sizeof value);
    return image;
}

TEST(ListImage, HasAHeaderOf24BytesAndOffsets) {
    const List list = make({"one", {}, "three"});
    const Image image = pack(list.get());
    ASSERT_EQ(image.size(), 512u);
    // Size, items, the gap of the image, mode, where the texts begin, the empty item; then the items.
    const uint32_t fields[] = {512, 3, 488 - 36, 0, 488, 511, 508, 511, 488};
    for (uint32_t i = 0; i < std::size(fields); ++i)
        EXPECT_EQ(field(image, i * 4), fields[i]) << i;
    EXPECT_EQ(std::string(image.data() + 488, 24), std::string("three\0behind a hole\0one\0", 24))
        << "what was removed stays";
}

// An image as a machine with pointers of 4 bytes fills it: slots up to the texts.
Image full_image(uint32_t count) {
    const uint32_t size = 24 + count * 4 + count * 2;
    Image image(size);
    const uint32_t fields[] = {size, count, 0, 0, 24 + count * 4, size - 1};
    for (uint32_t i = 0; i < 6; ++i)
        image = with(std::move(image), i * 4, fields[i]);
    for (uint32_t i = 0; i < count; ++i) {
        image = with(std::move(image), 24 + i * 4, size - 2 * (i + 1));
        image[size - 2 * (i + 1)] = static_cast<char>('a' + i % 26);
    }
    return image;
}

TEST(ListImage, WithoutAGapMakesALargerListWherePointersAreWider) {
    const List list = unpack(full_image(100));
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->nItem, 100);
    EXPECT_EQ(list->nSize, 24 + 100 * 6 + (sizeof(char *) - 4) * 102);
    EXPECT_STREQ(SzMLIBSzListGet(list.get(), 0), "a");
    EXPECT_STREQ(SzMLIBSzListGet(list.get(), 99), "v");
    expect_sound(list.get());
    EXPECT_EQ(items(unpack(pack(list.get())).get()), items(list.get()));
}

TEST(ListImage, IsRefusedWhenItsFieldsDoNotFitTogether) {
    const Image good = pack(make({"one", {}, "three"}).get());
    const uint32_t texts = field(good, 16);
    const Image twice = pack(make({"one", "three"}).get());
    Image open_end = good;
    open_end.back() = 'x';
    Image no_room_for_the_zero(28);
    const uint32_t fields[] = {28, 1, 0, 0, 28, 27, 27};
    memcpy(no_room_for_the_zero.data(), fields, sizeof fields);
    no_room_for_the_zero.back() = '\0';
    const struct {
        const char *fault;
        Image image;
    } cases[] = {
        {"another size", with(good, 0, 513)},
        {"a negative number of items", with(good, 4, 0xFFFFFFFF)},
        {"more items than the block", with(good, 4, 0x7FFFFFFF)},
        {"one item more than the gap says", with(good, 4, 4)},
        {"another gap", with(good, 8, 1)},
        {"texts beyond the block", with(good, 16, 513)},
        {"texts in the header", with(good, 16, 8)},
        {"the empty item elsewhere", with(good, 20, 510)},
        {"the empty item beyond the block", with(good, 20, 512)},
        {"an item in the gap", with(good, 24, texts - 1)},
        {"an item beyond the block", with(good, 24, 512)},
        {"an item far beyond the block", with(good, 24, 0xFFFFFFFF)},
        {"an item in the header", with(good, 24, 0)},
        {"one text as several items", with(with(twice, 24, field(twice, 16)), 28, field(twice, 16))},
        {"an unknown mode", with(good, 12, 0xFFFFFFFF)},
        {"no zero at the end", open_end},
        {"cut off", Image(good.begin(), good.end() - 1)},
        {"a part of the header", Image(good.begin(), good.begin() + 24)},
        {"slots over the closing zero", no_room_for_the_zero},
    };
    ASSERT_NE(unpack(good), nullptr);
    for (const auto &c : cases) {
        SCOPED_TRACE(c.fault);
        MLIBErrSet(ERR_SUCCESS);
        EXPECT_EQ(unpack(c.image), nullptr);
        EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
    }
}

TEST(ListImage, OfAnyBytesGivesASoundListOrNone) {
    const Image good = pack(make({"one", {}, "three", "four"}).get());
    for (size_t at = 0; at < 40; ++at) {
        for (int bit = 0; bit < 8; ++bit) {
            Image image = good;
            image[at] = static_cast<char>(image[at] ^ 1 << bit);
            const List list = unpack(image);
            if (!list) continue;
            expect_sound(list.get());
            items(list.get());
            EXPECT_NE(unpack(pack(list.get())), nullptr);
        }
    }
}

TEST(ListImage, NeedsMemory) {
    const List list = make({"one"});
    const Image image = pack(list.get());
    for (const bool packing : {true, false}) {
        MLIBErrSet(ERR_SUCCESS);
        AllocFault fault(1);
        const void *const made = packing ? static_cast<void *>(MORVListDBPack(list.get(), 512))
                                         : MORVListDBUnpack(image.data(), 512);
        AllocFault::disarm();
        EXPECT_EQ(made, nullptr);
        EXPECT_EQ(MLIBErrGet(), ERR_OUT_OF_MEMORY);
    }
}

}  // namespace
