#include <zlib.h>

#include "host/air/Capture.hpp"
#include "host/base/InputError.hpp"
#include "tests/host/air/Archives.hpp"
#include "tests/support/Conversions.hpp"

namespace nimbrel {
namespace {

using Lines = std::vector<std::string>;

constexpr std::uint64_t kLast = 1'700'000'000'000'000;
const Bytes kReport = event(hex("02 01 00 01 665544332211 03 020106 C4"));
const std::string kHeard = "112233445566 random -60 020106";

Bytes deflated(const Bytes& bytes) {
  auto size = compressBound(bytes.size());
  Bytes packed(size);
  compress(packed.data(), &size, bytes.data(), bytes.size());
  packed.resize(size);
  return packed;
}

Bytes record(std::uint8_t version, std::uint32_t sincePrevious, std::uint8_t type,
             const Bytes& content) {
  const auto length = little(2, content.size() + 1);
  return length + (version == 2 ? length : Bytes{}) + little(4, sincePrevious) + Bytes{type} +
         content;
}

/// `log` in lines of base64, without those that begin and end it.
Bytes base64(const Bytes& log) {
  const Bytes lines = compressed(archive_write_add_filter_b64encode, log);
  return {std::find(lines.begin(), lines.end(), '\n') + 1, lines.end() - 5};
}

Bytes reportOf(const Bytes& log) {
  return text(
             "== dumpstate\n about --- BEGIN:BTSNOOP_LOG_SUMMARY\n"
             "--- BEGIN:BTSNOOP_LOG_SUMMARY (12 bytes in) ---\n") +
         base64(log) + text("--- END:BTSNOOP_LOG_SUMMARY ---\nmore text\n");
}

Bytes logOf(std::uint8_t version, const Bytes& records) {
  return Bytes{version} + little(8, kLast) + deflated(records);
}

/// "MICROSECONDS BEFORE THE LAST: ADVERTISEMENT" of each, then warnings, or why there is none.
Lines heard(const Bytes& bytes) {
  Lines lines;
  Lines warnings;
  try {
    const auto capture =
        Capture::read(bytes, "a", [&](const std::string& warning) { warnings.push_back(warning); });
    while (const auto* advertisement = capture->next()) {
      EXPECT_LE(capture->progress(), 1.0);
      lines.push_back(
          std::to_string(static_cast<std::int64_t>(kLast) - advertisement->time.count()) + ": " +
          inWords(*advertisement));
    }
    if (lines.empty()) {
      lines.push_back(capture->silence());
    } else {
      testing_support::expectFaithfulConversions(bytes);
    }
  } catch (const InputError& error) {
    lines.emplace_back(error.what());
  }
  lines.insert(lines.end(), warnings.begin(), warnings.end());
  return lines;
}

TEST(BugReport, IsReadInBothVersionsBackFromTheTimeOfItsLastPacket) {
  for (const auto version : {std::uint8_t{1}, std::uint8_t{2}}) {
    const auto records = record(version, 999'999, 0x10, kReport) + record(version, 30, 0x11, {}) +
                         record(version, 0, 0x20, kReport) + record(version, 5, 0x10, kReport);
    EXPECT_EQ(heard(reportOf(logOf(version, records))), (Lines{"35: " + kHeard, "0: " + kHeard}));
  }
}

TEST(BugReport, ThatBreaksOffIsUsedUpToThere) {
  const auto one = record(1, 0, 0x10, kReport);
  for (std::size_t length = 1; length < one.size(); ++length) {
    EXPECT_EQ(
        heard(reportOf(
            logOf(1, one + Bytes(one.begin(), one.begin() + static_cast<std::ptrdiff_t>(length))))),
        (Lines{"0: " + kHeard, "a: the log in it is cut off after " + std::to_string(one.size()) +
                                   " unpacked bytes; used up to there"}));
  }
  auto stream = logOf(1, one);
  stream.resize(stream.size() - 4);  // the stream's own checksum
  EXPECT_EQ(heard(reportOf(stream)), Lines{"0: " + kHeard});
  auto text = reportOf(logOf(1, one));
  text.resize(text.size() - 43);  // the line that ends it
  EXPECT_EQ(heard(text), Lines{"0: " + kHeard});
}

TEST(BugReport, ThatCannotBeUsedSaysWhy) {
  const std::pair<Bytes, std::string> cases[] = {
      {reportOf({}), "a: the log in it is empty; take the bug report while Bluetooth is on"},
      {reportOf(logOf(3, {})),
       "a: version 3 of the log in it is not known; record btsnoop_hci.log instead"},
      {reportOf(Bytes{1} + little(8, 0) + text("no stream")),
       "a: the log in it is damaged; take the bug report again"},
      {reportOf(logOf(1, Bytes((64U << 20U) + 1, 0))),
       "a: the log in it unpacks to more than 64 MiB, which none does"},
      {reportOf(logOf(1, record(1, 0, 0x20, {}))),
       "holds no Bluetooth LE advertisement: Android leaves most of them out of a bug report's "
       "text; switch on the Bluetooth HCI snoop log, switch Bluetooth off and on, and take "
       "btsnoop_hci.log out of the next one"},
  };
  for (const auto& [bytes, expected] : cases) {
    EXPECT_EQ(heard(bytes), Lines{expected});
  }
}

}  // namespace
}  // namespace nimbrel
