// Any bytes as JSON: exactly the well-formed texts within the bounds are accepted, what was accepted survives another
// round, and so do the records that stand alone: stored secrets and the pairing code.

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "base/Json.hpp"
#include "base/Limits.hpp"
#include "base/Require.hpp"
#include "base/Text.hpp"
#include "pairing/InstallationSecrets.hpp"
#include "pairing/PairingPayload.hpp"

namespace tallyfox {
namespace {

/// Measures a text through the parser's own events, members that occur twice included.
class Measure : public nlohmann::json_sax<Json> {
 public:
  [[nodiscard]] bool isWithinBounds() const {
    return deepest_ <= limits::jsonDepth && mostMembers_ <= limits::jsonMembers;
  }

  bool null() override { return true; }
  bool boolean(bool) override { return true; }
  bool number_integer(number_integer_t) override { return true; }
  bool number_unsigned(number_unsigned_t) override { return true; }
  bool number_float(number_float_t, const string_t&) override { return true; }
  bool string(string_t&) override { return true; }
  bool binary(binary_t&) override { return true; }
  bool start_object(std::size_t) override { return enter(); }
  bool key(string_t&) override {
    mostMembers_ = std::max(mostMembers_, ++members_.back());
    return true;
  }
  bool end_object() override { return leave(); }
  bool start_array(std::size_t) override { return enter(); }
  bool end_array() override { return leave(); }
  bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override { return false; }

 private:
  bool enter() {
    members_.push_back(0);
    deepest_ = std::max(deepest_, members_.size());
    return true;
  }
  bool leave() {
    members_.pop_back();
    return true;
  }

  std::vector<std::size_t> members_;
  std::size_t deepest_ = 0;
  std::size_t mostMembers_ = 0;
};

bool isAcceptable(std::string_view text) {
  if (!isValidUtf8(text) || text.contains('\0')) return false;
  Measure measure;
  return Json::sax_parse(text, &measure) && measure.isWithinBounds();
}

void checkRecords(const Json& value) {
  if (const auto secrets = InstallationSecrets::decoded(value))
    require(InstallationSecrets::decoded(parsedJson(jsonText(secrets->json())).value()) == secrets,
            "stored secrets read back");
  if (const auto payload = PairingPayload::decoded(value))
    require(PairingPayload::decoded(parsedJson(payload->encoded()).value()) == payload, "a pairing code reads back");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = textOf({data, size});
  const auto value = parsedJson(text);
  require(value.has_value() == isAcceptable(text), "the well-formed texts within the bounds are accepted");
  if (!value) return 0;
  const auto again = parsedJson(jsonText(*value));
  require(again.has_value(), "a written text parses");
  require(*again == *value, "a written text has the same value");
  require(jsonText(*again) == jsonText(*value), "a value is always written alike");
  checkRecords(*value);
  return 0;
}

}  // namespace tallyfox
