#pragma once

#include <QDialog>
#include <string>

#include "ui/AppTheme.hpp"

namespace tallyfox::linux_os {

/// Name, version, purpose, and whose work it stands on. It deletes itself once closed.
class AboutBox : public QDialog {
 public:
  AboutBox(const std::string& version, Appearance appearance);

  void setAppearance(Appearance appearance);
};

}  // namespace tallyfox::linux_os
