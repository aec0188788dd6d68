#include "host/terminal/Progress.hpp"

#include <string_view>

#include "Classes/text/Decimal.hpp"

namespace nimbrel {

bool Progress::isDue() {
  const auto now = std::chrono::steady_clock::now();
  if (now < due_) {
    return false;
  }
  due_ = now + std::chrono::milliseconds(200);
  return true;
}

void Progress::show(double fraction) {
  isOnScreen_ = true;
  output_.buffer().append("\r").append(Decimal(static_cast<int>(fraction * 100.0))).append(" %");
  output_.flush();
}

void Progress::clear() {
  if (isOnScreen_) {
    isOnScreen_ = false;
    output_.buffer().append("\r\033[K");
    output_.flush();
  }
}

}  // namespace nimbrel
