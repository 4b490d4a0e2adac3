#include "traffic/report/page.h"

namespace traffic {
namespace {

constexpr std::string_view kPage =
#include "page.inc"  // made of page.html, style.css and the scripts
    ;
constexpr std::string_view kMark = "<!--data-->";
constexpr size_t kAt = kPage.find(kMark);
static_assert(kAt != std::string_view::npos && kPage.rfind(kMark) == kAt);

}  // namespace

std::string_view page_before_data() { return kPage.substr(0, kAt); }
std::string_view page_behind_data() { return kPage.substr(kAt + kMark.size()); }

}  // namespace traffic
