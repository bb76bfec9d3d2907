// For every set of preferences: the stored form reads back with the same types and values.

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <chrono>
#include <limits>
#include <map>
#include <string>

#include "base/Generators.hpp"
#include "platform/linux/DefaultsEncoding.hpp"

namespace tallyfox::linux_os {
namespace {

template <typename Value>
rc::Gen<DefaultsValue> holding(rc::Gen<Value> value) {
  return rc::gen::map(std::move(value), [](const Value& made) { return DefaultsValue(made); });
}

rc::Gen<DefaultsValue> preference() {
  constexpr double infinity = std::numeric_limits<double>::infinity();
  return rc::gen::oneOf(
      holding(rc::gen::arbitrary<bool>()), holding(generate::finiteNumber()),
      holding(rc::gen::element(infinity, -infinity, std::numeric_limits<double>::denorm_min())),
      holding(generate::text()), holding(rc::gen::resize(8, generate::texts())), holding(generate::bytes()),
      holding(rc::gen::map(rc::gen::arbitrary<std::int64_t>(),
                           [](std::int64_t since) { return Date(std::chrono::microseconds(since)); })));
}

RC_GTEST_PROP(DefaultsEncodingProperties, preferencesReadBack, ()) {
  const auto preferences = *rc::gen::container<std::map<std::string, DefaultsValue>>(generate::text(), preference());
  const auto file = parsedJson(jsonText(defaultsJson(preferences)));
  RC_ASSERT(file.has_value());
  RC_ASSERT((decodedDefaults(*file) == preferences));
}

}  // namespace
}  // namespace tallyfox::linux_os
