#pragma once

#include <cstddef>
#include <memory>
#include <vector>

namespace nimbrel {

/// Calls `notice(delegate, manager)` for each manager that has a delegate. A delegate may destroy
/// managers and create new ones.
template <typename Manager, typename Notice>
void notifyDelegates(const std::vector<Manager*>& managers, const Notice& notice) {
  for (std::size_t index = 0; index < managers.size(); ++index) {
    Manager& manager = *managers[index];
    if (const auto delegate = manager.delegate()) {
      notice(*delegate, manager);
    }
  }
}

}  // namespace nimbrel
