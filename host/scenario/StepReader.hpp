#pragma once

#include "host/base/MainQueue.hpp"
#include "host/scenario/JsonFields.hpp"
#include "host/scenario/Step.hpp"

namespace nimbrel {

/// Reads a step. `before` is the time of the step before it, `otherwise` the time of a step that
/// names none. Throws LineFault.
Step readStep(const Json& json, MainQueue::Time before, MainQueue::Time otherwise);

/// The permission under `key`, as a word or an integer. Throws LineFault.
CLAuthorizationStatus readAuthorization(JsonFields& fields, std::string_view key);

/// The state under "bluetooth", as a word or an integer. Throws LineFault.
CBManagerState readBluetoothState(JsonFields& fields);

}  // namespace nimbrel
