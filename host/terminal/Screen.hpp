#pragma once

#include "host/base/Output.hpp"

namespace nimbrel {

/// Switches a terminal to its alternate screen, without cursor and line wrapping, until it is
/// destroyed. The user's own screen is also restored while the program is suspended (Ctrl-Z), and
/// before a signal ends the program.
///
/// REQUIRES: no other Screen exists. The output outlives it.
class Screen {
 public:
  explicit Screen(Output& output);
  ~Screen();
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

  /// Restores the user's screen, if one is taken. Safe in a signal handler.
  static void giveBackAtOnce();

 private:
  Output& output_;
};

}  // namespace nimbrel
