#include "explain.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstring>
#include <optional>
#include <string_view>

#include "vex/codes/result_codes.h"

namespace run {
namespace {

using result::Layer;

struct Row {
  const char* meaning;
  const char* advice;
};
// Beside vex::kResultCodes, in its order.
constexpr Row kRows[] = {
#define ROW(layer, code, reached, meaning, advice) {meaning, advice},
    RESULT_CODES(ROW)
#undef ROW
};
static_assert(std::size(kRows) == std::size(vex::kResultCodes));

constexpr const char* kSources[] = {
#define SOURCE(layer, name, source) source,
    RESULT_LAYERS(SOURCE)
#undef SOURCE
};

// Letters and digits, in lower case.
std::string bare(std::string_view text) {
  std::string all;
  for (const char c : text) {
    const auto octet = static_cast<unsigned char>(c);
    if (std::isalnum(octet) != 0) all += static_cast<char>(std::tolower(octet));
  }
  return all;
}

struct Wanted {
  std::optional<Layer> layer;
  std::optional<int32_t> number;
  std::string name;  // bare

  bool matches(const vex::CodeRow& row) const {
    return (!layer || *layer == row.layer) && (!number || *number == row.code) &&
           (name.empty() || bare(vex::name_of(row)).ends_with(name));
  }
};

Wanted wanted(const std::vector<std::string>& words) {
  Wanted all;
  for (const std::string& word : words) {
    const auto layer = std::ranges::find(vex::kLayerNames, word,
                                         [](const char* name) { return std::string_view(name); });
    int32_t number = 0;
    const auto parsed = std::from_chars(word.data(), word.data() + word.size(), number);
    if (layer != std::end(vex::kLayerNames) && !all.layer) {
      all.layer = static_cast<Layer>(layer - std::begin(vex::kLayerNames));
    } else if (parsed.ec == std::errc() && parsed.ptr == word.data() + word.size()) {
      all.number = number;
    } else {
      all.name += bare(word);
    }
  }
  return all;
}

std::string text_of(Layer layer, const std::string& number, const char* name, const char* meaning,
                    const char* advice) {
  std::string text = vex::name_of(layer);
  text.append(" ").append(number).append(" ").append(name).append("\n  ").append(meaning);
  text.append("\n  From: ").append(kSources[static_cast<size_t>(layer)]);
  return text.append("\n  To do: ").append(advice).append("\n");
}

}  // namespace

std::string explain(const std::vector<std::string>& words) {
  const Wanted want = wanted(words);
  std::string all;
  for (size_t i = 0; i < std::size(kRows); ++i) {
    const vex::CodeRow& row = vex::kResultCodes[i];
    if (!want.matches(row)) continue;
    all += text_of(row.layer, std::to_string(row.code), vex::name_of(row), kRows[i].meaning,
                   kRows[i].advice);
  }
  // Others of the modem's errno numbers are the C library's.
  const bool system = want.layer == Layer::kModem && want.number && *want.number < 0;
  if (all.empty() && system && want.name.empty()) {
    all = text_of(Layer::kModem, std::to_string(*want.number), "", std::strerror(-*want.number),
                  ADVICE_CAPTURE);
  }
  return all;
}

}  // namespace run
