// Both forms of a property list give the same texts, those of another implementation included, and what is none says
// so.

#include "platform/linux/PropertyListFile.hpp"

#include <gtest/gtest.h>
#include <plist/plist.h>

#include <cstdlib>
#include <map>
#include <string>

namespace tallyfox::linux_os {
namespace {

using Texts = std::map<std::string, std::string>;
using Writer = decltype(&::plist_to_xml);

const Texts texts = {{"relayURL", "wss://r.example/<a>&b"}, {"pairingID", "Büro ’ 😀"}, {"", ""}, {"k", " a\tb\n"}};

/// The texts among members of other types, written by libplist.
std::string written(Writer write) {
  plist_t dictionary = ::plist_new_dict();
  for (const auto& [key, value] : texts)
    ::plist_dict_set_item(dictionary, key.c_str(), ::plist_new_string(value.c_str()));
  ::plist_dict_set_item(dictionary, "number", ::plist_new_uint(7));
  plist_t array = ::plist_new_array();
  ::plist_array_append_item(array, ::plist_new_string("inside"));
  ::plist_dict_set_item(dictionary, "array", array);
  char* bytes = nullptr;
  std::uint32_t size = 0;
  write(dictionary, &bytes, &size);
  std::string file(bytes, size);
  std::free(bytes);
  ::plist_free(dictionary);
  return file;
}

TEST(PropertyListFile, readsTheBinaryForm) {
  EXPECT_EQ(decodedPropertyList(bytesOf(written(::plist_to_bin))), texts);
}

TEST(PropertyListFile, readsXml) {
  EXPECT_EQ(decodedPropertyList(bytesOf(written(::plist_to_xml))), texts);
}

TEST(PropertyListFile, saysWhatIsNoDictionary) {
  EXPECT_EQ(decodedPropertyList(bytesOf("<plist version=\"1.0\"><array/></plist>")),
            std::unexpected("The property list is not a dictionary."));
}

TEST(PropertyListFile, saysWhatIsNoPropertyList) {
  for (const std::string text : {"", "text", "bplist00", "<plist", "{\"a\":1}"})
    EXPECT_EQ(decodedPropertyList(bytesOf(text)), std::unexpected("The file is not a property list.")) << text;
}

}  // namespace
}  // namespace tallyfox::linux_os
