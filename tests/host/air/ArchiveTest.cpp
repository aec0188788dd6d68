#include "host/air/Capture.hpp"
#include "host/base/InputError.hpp"
#include "tests/host/air/Archives.hpp"
#include "tests/support/Conversions.hpp"

namespace nimbrel {
namespace {

using Lines = std::vector<std::string>;

Bytes zip(const std::vector<File>& files, const char* options = nullptr) {
  return archiveOf(archive_write_set_format_zip, archive_write_add_filter_none, files, options);
}
Bytes tar(const std::vector<File>& files, Choose filter = archive_write_add_filter_none) {
  return archiveOf(archive_write_set_format_pax_restricted, filter, files);
}

/// With one report, of a device with that address, in that second.
Bytes walk(std::uint8_t device, std::uint64_t second = 0) {
  return btsnoop(1002, btsnoopRecord(3, 0x00DCDDB30F2F8000 + second * 1'000'000,
                                     hex("04") + event(hex("02 01 00 01 6655443322") +
                                                       Bytes{device} + hex("00 C4"))));
}

/// The last byte of the first address that is heard, or why there is none; then the warnings.
Lines heard(const Bytes& bytes) {
  Lines lines;
  try {
    const auto capture =
        Capture::read(bytes, "a", [&](const std::string& warning) { lines.push_back(warning); });
    const auto* const first = capture->next();
    lines.insert(lines.begin(), first == nullptr ? capture->name() + ": " + capture->silence()
                                                 : toHex(first->address.bytes).substr(0, 2));
    EXPECT_TRUE(first == nullptr || capture->next() == nullptr);
    if (first != nullptr) {
      testing_support::expectFaithfulConversions(bytes);
    }
  } catch (const InputError& error) {
    lines.insert(lines.begin(), error.what());
  }
  return lines;
}

const File kNote{"note.txt", text("--- BEGIN:BTSNOOP_LOG_SUMMAR")};

TEST(Archive, OfEveryKindIsReadByItsContent) {
  const Bytes seven = walk(7);
  const std::pair<const char*, Bytes> cases[] = {
      {"gz", compressed(archive_write_add_filter_gzip, seven)},
      {"bz2", compressed(archive_write_add_filter_bzip2, seven)},
      {"xz", compressed(archive_write_add_filter_xz, seven)},
      {"zst", compressed(archive_write_add_filter_zstd, seven)},
      {"zip", zip({kNote, {"FS/data/misc/bluetooth/logs/btsnoop_hci.log", seven}})},
      {"zip, stored", zip({kNote, {"x", seven}}, "compression=store")},
      {"tar", tar({kNote, {"x", seven}})},
      {"tar.gz", tar({kNote, {"x", seven}}, archive_write_add_filter_gzip)},
      {"tar.xz", tar({kNote, {"x", seven}}, archive_write_add_filter_xz)},
      {"tar.zst", tar({kNote, {"x", seven}}, archive_write_add_filter_zstd)},
      {"zip of gz", zip({{"x.gz", compressed(archive_write_add_filter_gzip, seven)}})},
      {"zip of tar of gz",
       zip({{"x", tar({{"y", compressed(archive_write_add_filter_gzip, seven)}})}})},
  };
  for (const auto& [what, bytes] : cases) {
    EXPECT_EQ(heard(bytes), Lines{"07"}) << what;
  }
}

TEST(Archive, IsNotSeenInARecordingThatHoldsTheMarkOfOneByChance) {
  const auto seven = walk(7);
  auto bytes = seven + btsnoopRecord(3, 0, Bytes(512, 0));
  const auto mark = text("ustar");
  std::copy(mark.begin(), mark.end(), bytes.begin() + 257);
  EXPECT_EQ(heard(bytes), Lines{"07"});
}

TEST(Archive, GivesTheNewestOfSeveralAndNamesTheOthers) {
  const Bytes ethernet = pcapHeader(little, 1);
  const std::pair<Bytes, Lines> cases[] = {
      {zip({{"b", walk(1), 100}, {"c", walk(2), 200}, {"a", walk(3), 150}}),
       {"02", "a (c) is used, the newest recording; also there: b, a"}},
      // Changed at the same time: the one that begins last.
      {tar({{"log", walk(1, 60)}, {"log.last", walk(2, 10)}}),
       {"01", "a (log) is used, the newest recording; also there: log.last"}},
      {zip({{"x.zip", zip({{"old\x1B", walk(1), 100}}), 900}, {"new", walk(2), 200}}),
       {"02", "a (new) is used, the newest recording; also there: x.zip/old\\x1B"}},
      {zip({{"x.gz", compressed(archive_write_add_filter_gzip, walk(1)), 300},
            {"y", walk(2), 200}}),
       {"01", "a (x.gz) is used, the newest recording; also there: y"}},
      {zip({{"good", walk(1), 100}, {"bad", ethernet, 200}}),
       {"01", "a (good) is used, the newest recording; also there: bad"}},
  };
  for (const auto& [bytes, expected] : cases) {
    EXPECT_EQ(heard(bytes), expected);
  }
}

TEST(Archive, SaysWhyNothingInItIsUsed) {
  const Bytes seven = walk(7);
  auto deep = zip({{"x", seven}});
  for (int i = 0; i < 2; ++i) {
    deep = zip({{"x", deep}});
  }
  EXPECT_EQ(heard(deep), Lines{"07"});
  const std::pair<Bytes, std::string> cases[] = {
      {zip({kNote}),
       "a: is an archive and holds no recording that can be read; of Android, switch on the "
       "Bluetooth HCI snoop log before you take the bug report"},
      {zip({{"x", deep}}), "a: holds archives in archives, more than three deep; unpack it first"},
      {zip({{"x", seven}}, "encryption=zipcrypt"), "a: is encrypted; unpack it first"},
      {compressed(archive_write_add_filter_xz, seven + Bytes(70'000'000, 0)),
       "a: unpacks to more than 400 times its size, as no recording does; if you trust it, unpack "
       "it by other means"},
      {hex("1F8B0800"), "a: is damaged (its end is missing); copy it again"},
      {zip({{"x", pcapHeader(little, 1)}}),
       "a (x): is a recording of Ethernet (link type 1), which holds no Bluetooth LE that can be "
       "read; record a Bluetooth adapter, a Bluetooth controller's USB or a Bluetooth LE sniffer"},
  };
  for (const auto& [bytes, expected] : cases) {
    EXPECT_EQ(heard(bytes), Lines{expected});
  }
}

/// Without its last bytes.
Bytes cut(const Bytes& bytes, std::size_t count) {
  return {bytes.begin(), bytes.end() - static_cast<std::ptrdiff_t>(count)};
}

TEST(Archive, ThatIsDamagedIsUsedUpToThere) {
  const auto seven = walk(7);
  auto changed = zip({{"x", seven}}, "compression=store");
  *(std::search(changed.begin(), changed.end(), seven.begin(), seven.end()) +
    static_cast<std::ptrdiff_t>(seven.size() - 1)) ^= 1U;
  const auto gz = compressed(archive_write_add_filter_gzip, seven);
  const std::string missing = "a: is damaged (its end is missing); used up to there";
  const std::pair<Bytes, Lines> cases[] = {
      {cut(gz, 4), {"07", missing}},
      {cut(compressed(archive_write_add_filter_gzip,
                      seven + btsnoopRecord(3, 0, hex("04 0E 0100"))),
           10),
       {"07", missing, "a: is cut off inside the record at byte 55"}},
      {compressed(archive_write_add_filter_gzip, cut(seven, 9)) +
           compressed(archive_write_add_filter_gzip, Bytes(seven.end() - 9, seven.end())),
       {"07"}},
      {gz + Bytes(512, 0), {"07"}},
      {cut(gz, 4) + Bytes(4, 1),
       {"07", "a: is damaged (a part of it cannot be unpacked); used up to there"}},
      {cut(tar({{"x", seven}}, archive_write_add_filter_gzip), 4), {"07", missing}},
      {zip({{"x", hex("FD377A585A00 0102030405060708")}, {"y", seven}}),
       {"07", "a: is damaged (Lzma library error: "}},
      {changed, {"07", "a: is damaged (ZIP bad CRC: "}},
  };
  for (const auto& [bytes, expected] : cases) {
    const Lines lines = heard(bytes);
    ASSERT_EQ(lines.size(), expected.size()) << testing::PrintToString(lines);
    for (std::size_t i = 0; i < lines.size(); ++i) {
      EXPECT_PRED_FORMAT2(testing::IsSubstring, expected[i], lines[i]);
    }
  }
}

TEST(Archive, CutOffIsUsedUpToThere) {
  Bytes records;
  for (std::uint32_t i = 0; i < 20'000; ++i) {
    const std::uint32_t scattered = i * 2'654'435'761U;
    const auto record = btsnoopRecord(3, scattered, hex("04 0E0100"));
    records.insert(records.end(), record.begin(), record.end());
  }
  const auto whole = tar({{"x", walk(7) + records}}, archive_write_add_filter_gzip);
  const auto lines = heard(cut(whole, whole.size() / 2));
  ASSERT_EQ(lines.size(), 3U) << testing::PrintToString(lines);
  EXPECT_EQ(lines[0], "07");
  EXPECT_EQ(lines[1], "a: is damaged (truncated gzip input); used up to there");
  EXPECT_PRED_FORMAT2(testing::IsSubstring, "a (x): is cut off inside the record", lines[2]);
  EXPECT_EQ(heard(cut(whole, 4)).at(1), "a: is damaged (for an unknown reason); used up to there");
}

}  // namespace
}  // namespace nimbrel
