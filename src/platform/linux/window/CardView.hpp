#pragma once

#include <QWidget>
#include <string>

namespace tallyfox::linux_os {

/// A rounded surface that holds what belongs together. Assistive programs see a group named as its title.
class CardView : public QWidget {
 public:
  CardView();

 protected:
  void paintEvent(QPaintEvent* event) override;
  /// The name of the group.
  void setTitle(const std::string& title);
};

}  // namespace tallyfox::linux_os
