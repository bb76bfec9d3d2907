// For every record, not only for chosen ones: what is written reads back as the same record, and comparing two records
// does not depend on which comes first.

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <functional>
#include <vector>

#include "model/Generators.hpp"

namespace tallyfox {
namespace {

template <typename Record>
void readsBack(const Record& record) {
  const auto json = parsedJson(jsonText(record.json()));
  RC_ASSERT(json.has_value());
  RC_ASSERT((Record::decoded(*json) == record));
}

RC_GTEST_PROP(RecordProperties, framesReadBack, ()) {
  readsBack(*generate::dialogFrame());
}
RC_GTEST_PROP(RecordProperties, buttonsReadBack, ()) {
  readsBack(*generate::dialogButton());
}
RC_GTEST_PROP(RecordProperties, approvalsReadBack, ()) {
  readsBack(*generate::approval());
}
RC_GTEST_PROP(RecordProperties, commandsReadBack, ()) {
  readsBack(*generate::requestCommand());
  readsBack(*generate::suppressionCommand());
  readsBack(*generate::resultCommand());
}
RC_GTEST_PROP(RecordProperties, phonesReadBack, ()) {
  readsBack(*generate::phoneStatus());
}

RC_GTEST_PROP(RecordProperties, listsOfApprovalsReadBackInOrder, ()) {
  const auto list = *rc::gen::resize(4, rc::gen::container<std::vector<PendingApproval>>(generate::approval()));
  RC_ASSERT((decodedApprovals(parsedJson(jsonText(approvalsJson(list))).value()) == list));
}

RC_GTEST_PROP(RecordProperties, everyRequiredMemberIsMissed, ()) {
  Json json = (*generate::approval()).json();
  static const std::vector<std::string> required = {
      "id",          "detectedAt",   "appName", "processIdentifier", "windowTitle",          "windowRole",
      "windowFrame", "messageLines", "reason",  "buttons",           "requiresDirectAccess", "isFallbackDetection"};
  const std::string member = *rc::gen::elementOf(required);
  if (*rc::gen::arbitrary<bool>())
    json.erase(member);
  else
    json[member] = nullptr;
  RC_ASSERT(!PendingApproval::decoded(json).has_value());
}

RC_GTEST_PROP(RecordProperties, equalRecordsHashAlike, ()) {
  const PendingApproval one = *generate::approval();
  const PendingApproval same = PendingApproval::decoded(one.json()).value();
  RC_ASSERT(std::hash<PendingApproval>()(one) == std::hash<PendingApproval>()(same));
}

RC_GTEST_PROP(RecordProperties, matchingIsSymmetricAndBounded, ()) {
  const PendingApproval one = *generate::approval();
  PendingApproval other = one;
  if (*rc::gen::arbitrary<bool>()) other.id = *generate::uuid();
  if (*rc::gen::arbitrary<bool>()) other.windowFrame = *generate::dialogFrame();
  if (*rc::gen::arbitrary<bool>()) other.windowTitle = *generate::text();
  if (*rc::gen::arbitrary<bool>()) std::ranges::reverse(other.buttons);
  const double score = one.matchScore(other);
  RC_ASSERT(score == other.matchScore(one));
  RC_ASSERT((score == 1000) == (one.id == other.id));
  RC_ASSERT(score == 0 || (score >= 1 && score <= 500) || score == 1000);
  RC_ASSERT((score == 0) == (one.id != other.id && one.windowTitle != other.windowTitle));
}

}  // namespace
}  // namespace tallyfox
