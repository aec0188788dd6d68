#include "host/cli/Recording.hpp"

#include <charconv>
#include <cmath>
#include <filesystem>
#include <utility>

#include "host/cli/CommandLine.hpp"

namespace nimbrel {

Rotation Rotation::parse(const std::string& text) {
  constexpr struct {
    const char* name;
    double bytes;
    double seconds;
  } kUnits[] = {{"k", 1e3, 0},  {"M", 1e6, 0},  {"G", 1e9, 0},  {"s", 0, 1},
                {"min", 0, 60}, {"h", 0, 3600}, {"d", 0, 86400}};
  double number = 0.0;
  const auto [unit, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  for (const auto& [name, bytes, seconds] : kUnits) {
    if (error == std::errc{} && number > 0.0 && number <= 1e6 && std::string(unit) == name) {
      Rotation rotation;
      if (bytes > 0) {
        rotation.bytes = static_cast<std::uint64_t>(number * bytes);
      } else {
        rotation.age = MainQueue::Time(std::llround(number * seconds * 1e6));
      }
      return rotation;
    }
  }
  throw UsageError(
      "--record-rotate '" + text +
      "' is no size and no age; give for example 100M (k, M, G) or 24h (s, min, h, d)");
}

Recording::Recording(std::string path, bool overwrites, Rotation rotation)
    : path_(std::move(path)), overwrites_(overwrites), rotation_(rotation) {
  writer_.emplace(path_, overwrites_);
}

void Recording::write(const Advertisement& advertisement) {
  if (isFull(advertisement.time)) {
    writer_->sync();
    const std::filesystem::path first(path_);
    std::filesystem::path next(first);
    next.replace_filename(first.stem().string() + "." + std::to_string(files_ + 1) +
                          first.extension().string());
    writer_.emplace(next.string(), overwrites_);
    began_.reset();
    ++files_;
  }
  if (!began_.has_value()) {
    began_ = advertisement.time;
  }
  writer_->write(advertisement);
}

bool Recording::isFull(MainQueue::Time now) const {
  return (rotation_.bytes && writer_->size() >= *rotation_.bytes) ||
         (rotation_.age && began_ && now - *began_ >= *rotation_.age);
}

}  // namespace nimbrel
