#include "host/findings/FindingsText.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>
#include <string_view>
#include <vector>

#include "Classes/text/UuidText.hpp"
#include "host/air/AddressText.hpp"
#include "host/base/Printable.hpp"
#include "host/findings/Reasons.hpp"

namespace nimbrel {

namespace {

constexpr std::string_view kReset = "\033[0m";
constexpr std::string_view kBold = "\033[1m";
constexpr std::string_view kRed = "\033[1;31m";
constexpr std::string_view kGreen = "\033[1;32m";

class Writer {
 public:
  explicit Writer(const FindingsTextStyle& style) : style_(style) {}

  /// A line in one style.
  void line(std::string_view text, std::string_view style = {}) {
    if (style_.isColoured && !style.empty()) {
      out_.append(style);
      appendPrintable(out_, text);
      out_.append(kReset);
    } else {
      appendPrintable(out_, text);
    }
    out_.push_back('\n');
  }

  /// Words filled up to the width, behind `head` in the first line and below it in the others.
  void paragraph(std::string_view head, std::string_view text) {
    const std::string margin(head.size(), ' ');
    const std::size_t width = std::max<std::size_t>(std::min<std::size_t>(style_.columns, 100), 40);
    std::string words(head);
    while (!text.empty()) {
      const std::string_view word = text.substr(0, text.find(' '));
      text.remove_prefix(std::min(text.size(), word.size() + 1));
      const bool isFirst = words.size() == head.size();
      if (!isFirst && words.size() + 1 + word.size() > width) {
        line(words);
        words = margin;
        words.append(word);
      } else {
        words.append(isFirst ? "" : " ").append(word);
      }
    }
    line(words);
  }

  std::string take() { return std::move(out_); }

 private:
  const FindingsTextStyle& style_;
  std::string out_;
};

std::string strengthText(const FoundDevice& device) {
  if (device.rssiReadings == 0) {
    return "without a signal strength";
  }
  std::array<char, 80> text{};
  std::snprintf(text.data(), text.size(), "%d to %d dBm, mean %.1f", device.rssiMin, device.rssiMax,
                device.rssiMean());
  return text.data();
}

std::string frameText(const FoundDevice& device) {
  if (device.frames.empty()) {
    return {};
  }
  const FoundFrame& last = *device.lastFrame();
  std::string text = last.isAltBeacon ? "AltBeacon " : "iBeacon ";
  text.append(UuidText(last.identity.uuid));
  text.append("/").append(std::to_string(last.identity.major));
  text.append("/").append(std::to_string(last.identity.minor));
  if (const auto others = std::ranges::distance(device.frames) - 1; others > 0) {
    text.append(" and ").append(std::to_string(others)).append(" more");
  }
  return text;
}

std::string fatesText(const FoundDevice& device) {
  std::string text;
  for (std::size_t index = 0; index < kFates; ++index) {
    const auto fate = static_cast<Fate>(index);
    if (device.count(fate) > 0) {
      text.append(text.empty() ? "" : ", ").append(nameOf(fate)).append(" ");
      text += std::to_string(device.count(fate));
    }
  }
  return text;
}

/// `isWhole`: with what is as it should be, too.
void writeDevice(Writer& writer, const Findings& findings, const FoundDevice& device,
                 const WallClock& clock, bool isWhole) {
  std::string head(AddressText(device.address));
  head += device.address.type == AddressType::publicAddress ? " public" : " random";
  if (!device.name.empty()) {
    head += "  \"" + device.name + "\"";
  }
  if (!device.frames.empty()) {
    head.append("  ").append(frameText(device));
  }
  const Rank rank = rankOf(findings, device);
  writer.line(head, rank == Rank::missed ? kRed : rank == Rank::detected ? kGreen : kBold);
  writer.line("  heard " + counted(device.heard, "time") + " from " + clock.time(device.first) +
              " to " + clock.time(device.last) + ", " + strengthText(device));
  writer.line("  " + fatesText(device));
  for (const Reason& reason : reasonsFor(findings, device)) {
    if (isWhole || !reason.isHarmless) {
      writer.paragraph("  - ", reason.sentence);
    }
  }
  for (const std::string& sentence : onIPhone(findings, device)) {
    writer.paragraph("  - ", sentence);
  }
}

void writeRun(Writer& writer, const Findings& findings, const WallClock& clock) {
  std::array<char, 40> seconds{};
  std::snprintf(seconds.data(), seconds.size(), "%.1f",
                std::chrono::duration<double>(findings.length()).count());
  writer.line((findings.isGeneric() ? "generic mode: " : "filter mode: ") +
                  counted(findings.advertisements(), "advertisement") + " from " +
                  counted(findings.devices().size(), "device") + " in " + seconds.data() + " s, " +
                  counted(findings.events(), "event"),
              kBold);
  for (const FoundFilter& each : findings.filters()) {
    if (each.events > 0) {
      writer.line("  " + filterText(each.map) + ": " + counted(each.events, "event"));
    }
  }
  for (const std::string& sentence : reasonsForRun(findings, clock)) {
    writer.paragraph("! ", sentence);
  }
}

/// Devices in the order in which somebody reads of them.
std::vector<const FoundDevice*> byRank(const Findings& findings) {
  std::array<std::vector<const FoundDevice*>, 3> ranks;
  for (const FoundDevice& device : findings.devices()) {
    ranks[static_cast<std::size_t>(rankOf(findings, device))].push_back(&device);
  }
  std::vector<const FoundDevice*> devices;
  for (const auto& rank : ranks) {
    devices.insert(devices.end(), rank.begin(), rank.end());
  }
  return devices;
}

/// The devices that got no paragraph, by their chief reason, the most frequent one first.
std::string rest(const Findings& findings, const std::vector<const FoundDevice*>& devices,
                 const FindingsTextStyle& style) {
  std::map<std::string_view, std::size_t> topics;
  std::size_t detected = 0;
  for (const FoundDevice* device : devices) {
    if (rankOf(findings, *device) == Rank::detected) {
      ++detected;
      continue;
    }
    const std::vector<Reason> reasons = reasonsFor(findings, *device);
    ++topics[reasons.empty() ? "nothing to say" : reasons.front().topic];
  }
  std::vector<std::pair<std::string_view, std::size_t>> ordered(topics.begin(), topics.end());
  std::ranges::stable_sort(ordered, std::greater<>(), [](const auto& each) { return each.second; });
  if (detected > 0) {
    ordered.emplace(ordered.begin(), "detected", detected);
  }
  Writer writer(style);
  for (const auto& [topic, count] : ordered) {
    writer.paragraph("  ", counted(count, "more device") + ": " + std::string(topic));
  }
  return writer.take();
}

std::size_t linesOf(std::string_view text) {
  return static_cast<std::size_t>(std::ranges::count(text, '\n'));
}

}  // namespace

std::string findingsText(const Findings& findings, const FindingsTextStyle& style) {
  Writer head(style);
  writeRun(head, findings, style.clock);
  std::string out = head.take();

  const std::vector<const FoundDevice*> devices = byRank(findings);
  const std::size_t most = style.lines.value_or(SIZE_MAX);
  std::size_t lines = linesOf(out);
  std::size_t shown = 0;
  for (; shown < devices.size(); ++shown) {
    if (style.lines.has_value() && rankOf(findings, *devices[shown]) == Rank::other) {
      break;
    }
    Writer paragraph(style);
    paragraph.line("");
    writeDevice(paragraph, findings, *devices[shown], style.clock, !style.lines.has_value());
    const std::string text = paragraph.take();
    // At least one paragraph is shown, however small the screen.
    constexpr std::size_t kLinesOfRest = 8;
    lines += linesOf(text);
    if (shown > 0 && lines + kLinesOfRest > most) {
      break;
    }
    out += text;
  }
  if (shown < devices.size()) {
    const auto place = devices.begin() + static_cast<std::ptrdiff_t>(shown);
    out.append("\n").append(rest(findings, {place, devices.end()}, style));
    out += "--all shows every device, --device ADDRESS the whole story of one\n";
  }
  return out;
}

std::string storyText(const Findings& findings, const FoundDevice& device,
                      const FindingsTextStyle& style) {
  Writer writer(style);
  writeDevice(writer, findings, device, style.clock, true);
  std::string day;
  for (const Stretch& stretch : findings.storyOf(device)) {
    if (const std::string date = style.clock.date(stretch.from); date != day) {
      day = date;
      writer.line("  " + day);
    }
    std::string line = "    " + style.clock.time(stretch.from) + "  ";
    line += std::string(nameOf(stretch.fate));
    if (stretch.count > 1) {
      line += ", " + counted(stretch.count, "time") + " until " + style.clock.time(stretch.to);
    }
    writer.line(line);
  }
  return writer.take();
}

}  // namespace nimbrel
