#pragma once

#include <string>
#include <string_view>

namespace nimbrel {

/// Appends a page of HTML that shows a report, whose JSON text is in it. Whatever the text holds,
/// the browser takes it for data.
void appendPage(std::string& out, std::string_view json);

}  // namespace nimbrel
