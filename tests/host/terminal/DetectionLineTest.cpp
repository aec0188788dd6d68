#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Classes/model/DetectionEvent.hpp"
#include "host/terminal/DetectionLine.hpp"

namespace nimbrel {
namespace {

void useZone(const char* zone) {
  setenv("TZ", zone, 1);
  tzset();
}

std::string lineOf(DetectionEvent event, std::optional<std::size_t> columns = 94,
                   bool isColoured = false) {
  setlocale(LC_CTYPE, "C.UTF-8");
  useZone("UTC");
  event.ts = 1700000000987;
  event.proximity = proximityWord(event.distance);
  std::string line;
  DetectionLine({isColoured, false, columns}).append(line, std::move(event).toMap());
  return line;
}

DetectionEvent detection(std::string name, double rssi, double distance) {
  DetectionEvent event;
  event.uuid = PlainText("6E696D62-7265-8C00-8001-C65544332211");
  event.name = std::move(name);
  event.rssi = rssi;
  event.distance = distance;
  return event;
}

TEST(DetectionLine, AlignsItsColumnsWhateverTheyHold) {
  EXPECT_EQ(lineOf(detection("", -60.0, 0.25)),
            "22:13:20.987  C6:55:44:33:22:11         -             -60 dBm     0.25 m  immediate");
  EXPECT_EQ(lineOf(detection("Café 北京\n", 0.0, -1.0)),
            "22:13:20.987  Café 北京\\x0A             -              silent          ?  unknown");
  EXPECT_EQ(lineOf(detection("A name of more than twenty-four letters", -100.0,
                             std::numeric_limits<double>::infinity())),
            "22:13:20.987  A name of more than twe…  -            -100 dBm      >1 km  far");
  EXPECT_EQ(lineOf(detection("一二三四五六七八九十一二三", -60.0, 0.25)),
            "22:13:20.987  一二三四五六七八九十一…   -             -60 dBm     0.25 m  immediate");
  EXPECT_EQ(
      lineOf(detection("e\u0301tage", -60.0, 0.25)),
      "22:13:20.987  e\u0301tage                     -             -60 dBm     0.25 m  immediate");
}

TEST(DetectionLine, HasTheWholeIdentityIfThereIsRoom) {
  const std::string name = "A name of more than thirty-six letters";
  const std::tuple<std::optional<std::size_t>, const char*, const char*> cases[] = {
      {94, "6E696D62…                 1/2  ", "A name of more than thi…  1/2  "},
      {95, "6E696D62-7265-8C00-8001-C65544332211  1/2  ",
       "A name of more than thirty-six lett…  1/2  "},
      {std::nullopt, "6E696D62-7265-8C00-8001-C65544332211  1/2  ",
       "A name of more than thirty-six letters  1/2  "},
  };
  for (const auto& [columns, shownUuid, shownName] : cases) {
    for (const auto& [text, shown] : {std::pair(std::string(), shownUuid), {name, shownName}}) {
      DetectionEvent event = detection(text, -60.0, 0.25);
      event.majorId = 1;
      event.minorId = 2;
      EXPECT_EQ(lineOf(event, columns).find(shown), 14U) << lineOf(event, columns);
    }
  }
}

TEST(DetectionLine, CarriesTheDateWhenTheDayChanges) {
  useZone("UTC");
  DetectionLine line({});
  line.begin(1700006399999);  // the last millisecond of 2023-11-14
  std::string times;
  for (const std::int64_t ts : {1700006399999, 1700006400000, 1700006400001, 1700006399000}) {
    DetectionEvent event = detection("x", -60.0, 0.25);
    event.ts = ts;
    std::string text;
    line.append(text, std::move(event).toMap());
    times += text.substr(0, text.find("  ")) + "|";
  }
  EXPECT_EQ(times, "23:59:59.999|2023-11-15 00:00:00.000|00:00:00.001|2023-11-14 23:59:59.000|");
}

TEST(DetectionLine, HasTheTimeOfTheMachinesZoneOrOfUtc) {
  useZone("CET-1");
  DetectionEvent event = detection("x", -60.0, 0.25);
  event.ts = 1700000000987;
  const EncodableMap map = std::move(event).toMap();
  std::string local;
  DetectionLine({}).append(local, map);
  std::string utc;
  DetectionLine({false, true, {}}).append(utc, map);
  EXPECT_EQ(local.substr(0, 12), "23:13:20.987");
  EXPECT_EQ(utc.substr(0, 12), "22:13:20.987");
}

TEST(DetectionLine, ColoursTheProximityOnATerminal) {
  const std::string line = lineOf(detection("x", -60.0, 0.25), 94, true);
  EXPECT_NE(line.find("\033[1;32mimmediate\033[0m"), std::string::npos);
}

}  // namespace
}  // namespace nimbrel
