#include "platform/linux/AtspiFacts.hpp"

namespace tallyfox::linux_os {

FactSet knownOf(const AtspiFacts& facts) {
  FactSet known = 0;
  const auto add = [&known](const auto& value, FactSet one) {
    if (value) known = static_cast<FactSet>(known | one);
  };
  add(facts.role, fact::role);
  add(facts.states, fact::states);
  add(facts.childCount, fact::childCount);
  add(facts.children, fact::children);
  add(facts.name, fact::name);
  add(facts.description, fact::description);
  add(facts.text, fact::text);
  add(facts.extents, fact::extents);
  add(facts.parent, fact::parent);
  add(facts.focusClaims, fact::focusClaims);
  return known;
}

}  // namespace tallyfox::linux_os
