#include "host/findings/page/Page.hpp"

// Page.S puts the page into the program, cut in two where the data goes.
extern "C" {
extern const char nimbrelPageHeadBegin[];
extern const char nimbrelPageHeadEnd[];
extern const char nimbrelPageTailBegin[];
extern const char nimbrelPageTailEnd[];
}

namespace nimbrel {

void appendPage(std::string& out, std::string_view json) {
  out.append(nimbrelPageHeadBegin, nimbrelPageHeadEnd);
  while (!json.empty()) {
    const std::string_view plain = json.substr(0, json.find('<'));
    out.append(plain);
    json.remove_prefix(plain.size());
    if (!json.empty()) {
      // Only "<" can end a script element or begin a comment in it; it stands in texts alone.
      out.append("\\u003c");
      json.remove_prefix(1);
    }
  }
  out.append(nimbrelPageTailBegin, nimbrelPageTailEnd);
}

}  // namespace nimbrel
