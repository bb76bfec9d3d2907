// Property lists in binary form: the texts of the root dictionary, whatever else it holds, and no way for a few bytes
// to cost more than they are worth.

#include "platform/linux/BinaryPropertyList.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/Limits.hpp"

namespace tallyfox::linux_os {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

const auto malformed = std::unexpected(PropertyListFault::malformed);

std::string bigEndian(std::uint64_t value, std::size_t bytes) {
  std::string text;
  while (bytes-- > 0)
    text += static_cast<char>(bytes < sizeof value ? value >> (8 * bytes) & 0xFFU : 0U);
  return text;
}

/// A file of the given objects; the fields of its end can be set wrong.
struct File {
  std::vector<std::string> objects;
  std::uint8_t offsetBytes = 1;
  std::uint8_t referenceBytes = 1;
  std::uint64_t root = 0;
  std::optional<std::uint64_t> count{};
  std::optional<std::uint64_t> table{};

  [[nodiscard]] std::string text() const {
    std::string file = "bplist00";
    std::string offsets;
    for (const std::string& object : objects) {
      offsets += bigEndian(file.size(), offsetBytes);
      file += object;
    }
    const std::size_t end = file.size();
    file += offsets + std::string(6, '\0') + static_cast<char>(offsetBytes) + static_cast<char>(referenceBytes);
    return file + bigEndian(count.value_or(objects.size()), 8) + bigEndian(root, 8) + bigEndian(table.value_or(end), 8);
  }
};

auto decoded(const File& file) {
  return decodedBinaryPropertyList(bytesOf(file.text()));
}

std::string longText(std::size_t size) {
  return "\x5F\x12" + bigEndian(size, 4) + std::string(size, 'a');
}

TEST(BinaryPropertyList, isToldByItsFirstBytes) {
  EXPECT_TRUE(isBinaryPropertyList(bytesOf("bplist00")));
  EXPECT_FALSE(isBinaryPropertyList(bytesOf("bplist")));
  EXPECT_FALSE(isBinaryPropertyList(bytesOf("<?xml")));
}

TEST(BinaryPropertyList, givesTheTextsOfItsDictionary) {
  EXPECT_THAT(*decoded({.objects = {"\xD2\x01\x02\x03\x04",
                                    "\x51"
                                    "a",
                                    "\x51"
                                    "b",
                                    "\x52"
                                    "xy",
                                    "\x50"}}),
              ElementsAre(Pair("a", "xy"), Pair("b", "")));
  EXPECT_THAT(*decoded({.objects = {"\xD0"}}), IsEmpty());
}

TEST(BinaryPropertyList, leavesOutMembersOfOtherTypes) {
  EXPECT_THAT(*decoded({.objects = {"\xD3\x01\x02\x03\x04\x05\x06",
                                    "\x51"
                                    "a",
                                    "\x51"
                                    "b",
                                    "\x51"
                                    "c",
                                    std::string("\x10\x07", 2), "\xA1\x03",
                                    "\x51"
                                    "v"}}),
              ElementsAre(Pair("c", "v")));
}

TEST(BinaryPropertyList, readsWideReferencesAndCounts) {
  const File file{
      .objects = {std::string("\xDF\x10\x01", 3) + bigEndian(1, 8) + bigEndian(2, 8), "\x5F\x10\x01k", longText(300)},
      .offsetBytes = 8,
      .referenceBytes = 8};
  EXPECT_THAT(*decoded(file), ElementsAre(Pair("k", std::string(300, 'a'))));
}

TEST(BinaryPropertyList, readsUtf16AndRepairsWhatIsNone) {
  const auto value = [](std::string units) {
    const auto members = decoded({.objects = {"\xD1\x01\x02",
                                              "\x51"
                                              "k",
                                              static_cast<char>(0x60 + units.size() / 2) + units}});
    return members ? members->at("k") : "none";
  };
  EXPECT_EQ(value(std::string("\0A\0\xFC\x20\x19", 6)), "Aü’");
  EXPECT_EQ(value(std::string("\xD8\x3D\xDE\x00", 4)), "😀");
  EXPECT_EQ(value(std::string("\xD8\x3D\0x", 4)), "\uFFFDx") << "the first half of a pair alone";
  EXPECT_EQ(value(std::string("\xDE\x00\0x", 4)), "\uFFFDx") << "the second half alone";
  EXPECT_EQ(value(std::string("\0x\xD8\x3D", 4)), "x\uFFFD") << "half a pair at the end";
  EXPECT_EQ(value(std::string("\xD8\x3D\xD8\x3D\xDE\x00", 6)), "\uFFFD😀");
}

TEST(BinaryPropertyList, repairsPlainTextsThatAreNoUtf8) {
  EXPECT_THAT(*decoded({.objects = {"\xD1\x01\x02",
                                    "\x51"
                                    "k",
                                    "\x52\xFFz"}}),
              ElementsAre(Pair("k", "\uFFFDz")));
}

TEST(BinaryPropertyList, countsTheLastOfTwoEqualKeys) {
  EXPECT_THAT(*decoded({.objects = {"\xD2\x01\x01\x02\x03",
                                    "\x51"
                                    "k",
                                    "\x51"
                                    "1",
                                    "\x51"
                                    "2"}}),
              ElementsAre(Pair("k", "2")));
}

TEST(BinaryPropertyList, saysThatItsRootIsNoDictionary) {
  EXPECT_EQ(decoded({.objects = {"\xA0"}}), std::unexpected(PropertyListFault::noDictionary));
}

TEST(BinaryPropertyList, refusesEveryTruncation) {
  const std::string whole = File{.objects = {"\xD1\x01\x02",
                                             "\x51"
                                             "k",
                                             "\x51"
                                             "v"}}
                                .text();
  ASSERT_TRUE(decodedBinaryPropertyList(bytesOf(whole)).has_value());
  for (std::size_t size = 0; size < whole.size(); ++size)
    EXPECT_EQ(decodedBinaryPropertyList(bytesOf(whole.substr(0, size))), malformed) << size;
}

TEST(BinaryPropertyList, refusesWhatLeadsOutOfTheFile) {
  const std::string dictionary = "\xD1\x01\x02";
  const std::string key =
      "\x51"
      "k";
  const std::vector<std::pair<const char*, File>> files = {
      {"no objects", {.objects = {}}},
      {"root outside", {.objects = {"\xD0"}, .root = 1}},
      {"root far outside", {.objects = {"\xD0"}, .root = UINT64_MAX}},
      {"more objects than offsets", {.objects = {"\xD0"}, .count = 2}},
      {"objects beyond counting", {.objects = {"\xD0"}, .count = UINT64_MAX}},
      {"table in the header", {.objects = {"\xD0"}, .table = 7}},
      {"table outside", {.objects = {"\xD0"}, .table = UINT64_MAX}},
      {"value outside", {.objects = {"\xD1\x01\x09", key}}},
      {"key outside", {.objects = {"\xD1\x09\x01", key}}},
      {"key that is no text", {.objects = {std::string("\xD1\x00\x01", 3), key}}},
      {"more members than bytes", {.objects = {"\xDE\x01\x02", key, key}}},
      {"members beyond counting", {.objects = {"\xDF\x13" + bigEndian(UINT64_MAX, 8), key, key}}},
      {"text cut off",
       {.objects = {dictionary, key,
                    "\x55"
                    "abc"}}},
      {"text beyond counting", {.objects = {dictionary, key, "\x5F\x13" + bigEndian(UINT64_MAX, 8) + "abc"}}},
      {"units cut off", {.objects = {dictionary, key, std::string("\x62\0a\0", 4)}}},
      {"count cut off", {.objects = {dictionary, key, std::string("\x5F\x13\0", 3)}}},
      {"count missing", {.objects = {dictionary, key, "\x5F"}}},
      {"count that is no number",
       {.objects = {dictionary, key,
                    "\x5F\x51"
                    "1"}}},
      {"count of sixteen bytes", {.objects = {dictionary, key, "\x5F\x14" + bigEndian(1, 16) + "a"}}},
  };
  for (const auto& [what, file] : files)
    EXPECT_EQ(decoded(file), malformed) << what;
  for (const std::size_t place : {26U, 25U}) {
    for (const char width : {'\0', '\x09', '\xFF'}) {
      std::string text = File{.objects = {"\xD0"}}.text();
      text[text.size() - place] = width;
      EXPECT_EQ(decodedBinaryPropertyList(bytesOf(text)), malformed) << place;
    }
  }
}

// A reader that follows references would recurse as deep as the file has objects.
TEST(BinaryPropertyList, doesNotFollowNesting) {
  constexpr std::size_t depth = 120'000;
  std::vector<std::string> objects = {"\xD1" + bigEndian(1, 3) + bigEndian(2, 3),
                                      "\x51"
                                      "k"};
  while (objects.size() < depth)
    objects.push_back("\xA1" + bigEndian(objects.size() + 1, 3));
  objects.emplace_back("\xA0");
  EXPECT_THAT(*decoded({.objects = objects, .offsetBytes = 3, .referenceBytes = 3}), IsEmpty());
  EXPECT_THAT(*decoded({.objects = {std::string("\xD1\x01\x00", 3),
                                    "\x51"
                                    "k"}}),
              IsEmpty())
      << "it holds itself";
}

// Forty arrays of twice the next one stand for a million million elements.
TEST(BinaryPropertyList, doesNotExpandSharedObjects) {
  std::vector<std::string> objects = {"\xD1\x01\x02",
                                      "\x51"
                                      "k"};
  for (std::size_t level = 0; level < 40; ++level)
    objects.push_back("\xA2" + bigEndian(objects.size() + 1, 1) + bigEndian(objects.size() + 1, 1));
  objects.emplace_back("\xA0");
  EXPECT_THAT(*decoded({.objects = objects}), IsEmpty());
}

TEST(BinaryPropertyList, boundsTheTextThatManyMembersShare) {
  const auto sharing = [](std::size_t members) {
    std::string dictionary = "\xDF\x12" + bigEndian(members, 4);
    dictionary += std::string(members, '\x01') + std::string(members, '\x02');
    return File{.objects = {dictionary, "\x50", longText(limits::storedFileBytes / 4)}, .offsetBytes = 4};
  };
  EXPECT_TRUE(decoded(sharing(4)).has_value());
  EXPECT_EQ(decoded(sharing(5)), malformed);
  EXPECT_EQ(decoded(sharing(100'000)), malformed);
}

}  // namespace
}  // namespace tallyfox::linux_os
