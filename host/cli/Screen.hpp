#pragma once

#include "host/cli/Output.hpp"

namespace nimbrel {

/// A terminal's second screen, for oneself while this lives, without cursor and wrapping. It is
/// given back while the program is suspended (Ctrl-Z), too. One at a time.
class Screen {
 public:
  /// Takes the screen of the terminal that `output` writes to, and that outlives this.
  explicit Screen(Output& output);
  ~Screen();
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

  /// For a signal handler that ends the program: gives the screen back if one is taken.
  static void giveBackAtOnce();

 private:
  Output& output_;
};

}  // namespace nimbrel
