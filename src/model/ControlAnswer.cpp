#include "model/ControlAnswer.hpp"

#include <utility>

#include "model/ControlRequest.hpp"

namespace tallyfox {

Json ControlAnswer::json() const {
  Json value = {{"version", ControlRequest::version}, {"ok", ok}, {"text", text}};
  if (status) value["status"] = *status;
  return value;
}

std::expected<ControlAnswer, DecodingError> ControlAnswer::decoded(const Json& value) {
  JsonObjectReader reader(value);
  ControlAnswer answer;
  answer.ok = reader.boolean("ok");
  answer.text = reader.string("text");
  if (const Json* status = reader.optionalMember("status")) answer.status = *status;
  return reader.finish(std::move(answer));
}

}  // namespace tallyfox
