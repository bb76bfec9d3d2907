#include "platform/linux/PropertyListFile.hpp"

#include <plist/plist.h>

#include <cstdlib>
#include <memory>

namespace tallyfox::linux_os {
namespace {

struct PlistDeleter {
  void operator()(void* node) const { ::plist_free(node); }
};
using PlistHandle = std::unique_ptr<void, PlistDeleter>;

struct FreeDeleter {
  void operator()(void* memory) const { std::free(memory); }
};
template <typename T>
using CHandle = std::unique_ptr<T, FreeDeleter>;

PlistHandle parsed(ByteView content) {
  plist_t root = nullptr;
  ::plist_from_memory(reinterpret_cast<const char*>(content.data()), static_cast<std::uint32_t>(content.size()), &root);
  return PlistHandle(root);
}

}  // namespace

std::expected<std::map<std::string, std::string>, std::string> decodedPropertyList(ByteView content) {
  const PlistHandle root = parsed(content);
  if (!root) return std::unexpected("The file is not a property list.");
  if (::plist_get_node_type(root.get()) != PLIST_DICT) return std::unexpected("The property list is not a dictionary.");
  std::map<std::string, std::string> members;
  plist_dict_iter position = nullptr;
  ::plist_dict_new_iter(root.get(), &position);
  const CHandle<void> owner(position);
  for (;;) {
    char* keyText = nullptr;
    plist_t value = nullptr;
    ::plist_dict_next_item(root.get(), position, &keyText, &value);
    const CHandle<char> key(keyText);
    if (value == nullptr) return members;
    if (!key || ::plist_get_node_type(value) != PLIST_STRING) continue;
    std::uint64_t length = 0;
    const char* text = ::plist_get_string_ptr(value, &length);
    if (text != nullptr) members.insert_or_assign(key.get(), std::string(text, length));
  }
}

}  // namespace tallyfox::linux_os
