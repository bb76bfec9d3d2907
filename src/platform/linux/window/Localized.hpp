#pragma once

#include <QCoreApplication>
#include <QString>
#include <string>

namespace tallyfox::linux_os {

/// A text of the interface in the owner's language where a translation is installed, else as it is. Texts made of
/// foreign parts (a phone's name) have no translation and stay as they are.
[[nodiscard]] inline QString localized(const std::string& text) {
  return QCoreApplication::translate("Tallyfox", text.c_str());
}

}  // namespace tallyfox::linux_os
