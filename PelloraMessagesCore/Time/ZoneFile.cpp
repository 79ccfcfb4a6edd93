#include "PelloraMessagesCore/Time/ZoneFile.h"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

namespace pellora::ZoneFile {

namespace {

constexpr std::size_t kHeaderSize = 44;
constexpr std::size_t kTypeSize = 6;

std::uint64_t bigEndian(std::string_view bytes) {
  std::uint64_t result = 0;
  for (const char each : bytes) result = result << 8 | static_cast<unsigned char>(each);
  return result;
}

std::int64_t signedNumber(std::string_view bytes) {
  const std::uint64_t number = bigEndian(bytes);
  if (bytes.size() == 4) return static_cast<std::int32_t>(static_cast<std::uint32_t>(number));
  return static_cast<std::int64_t>(number);
}

struct Header {
  char version = 0;
  std::uint64_t utcIndicators = 0;
  std::uint64_t standardIndicators = 0;
  std::uint64_t leapSeconds = 0;
  std::uint64_t transitions = 0;
  std::uint64_t types = 0;
  std::uint64_t nameBytes = 0;

  // Counts have 32 bits, so the sum fits.
  std::uint64_t blockSize(std::size_t timeSize) const {
    return transitions * (timeSize + 1) + types * kTypeSize + nameBytes + leapSeconds * (timeSize + 4) +
           standardIndicators + utcIndicators;
  }
};

// Takes the header from the front.
std::optional<Header> takeHeader(std::string_view& bytes) {
  constexpr std::size_t kVersionAt = 4;
  constexpr std::size_t kCountsAt = 20;
  if (bytes.size() < kHeaderSize || !bytes.starts_with("TZif")) return std::nullopt;
  const auto count = [&](std::size_t index) { return bigEndian(bytes.substr(kCountsAt + index * 4, 4)); };
  const Header result{bytes[kVersionAt], count(0), count(1), count(2), count(3), count(4), count(5)};
  bytes.remove_prefix(kHeaderSize);
  return result;
}

struct Type {
  std::int64_t offset = 0;
  bool isDaylight = false;
};

std::optional<std::vector<Type>> readTypes(std::string_view bytes) {
  std::vector<Type> result;
  for (; !bytes.empty(); bytes.remove_prefix(kTypeSize)) {
    const std::int64_t offset = signedNumber(bytes.substr(0, 4));
    if (offset < kWesternmostOffset || offset > kEasternmostOffset) return std::nullopt;
    result.push_back({offset, bytes[4] != 0});
  }
  if (result.empty()) return std::nullopt;
  return result;
}

// `bytes` hold the whole block.
std::optional<ZoneRules> readBlock(std::string_view bytes, const Header& header, std::size_t timeSize,
                                   std::optional<PosixZoneRule> after) {
  const auto count = static_cast<std::size_t>(header.transitions);
  const std::string_view times = bytes.substr(0, count * timeSize);
  const std::string_view typesOfTimes = bytes.substr(times.size(), count);
  const auto types = readTypes(bytes.substr(times.size() + count, static_cast<std::size_t>(header.types) * kTypeSize));
  if (!types) return std::nullopt;

  std::vector<ZoneRules::Transition> transitions;
  transitions.reserve(count);
  for (std::size_t index = 0; index < count; ++index) {
    const auto type = static_cast<unsigned char>(typesOfTimes[index]);
    const std::int64_t at = signedNumber(times.substr(index * timeSize, timeSize));
    if (type >= types->size() || (!transitions.empty() && at < transitions.back().at)) return std::nullopt;
    transitions.push_back({at, (*types)[type].offset});
  }
  // As the C library: ahead of the first transition the first standard time there is.
  auto before = std::find_if(types->begin(), types->end(), [](const Type& type) { return !type.isDaylight; });
  if (before == types->end()) before = types->begin();
  return ZoneRules(before->offset, std::move(transitions), after);
}

// The rule between two line ends.
std::optional<PosixZoneRule> readRule(std::string_view bytes) {
  if (!bytes.starts_with('\n')) return std::nullopt;
  bytes.remove_prefix(1);
  const std::size_t end = bytes.find('\n');
  if (end == std::string_view::npos) return std::nullopt;
  return PosixZoneRule::parse(bytes.substr(0, end));
}

}  // namespace

std::optional<ZoneRules> read(std::string_view bytes) {
  constexpr std::size_t kOldTimeSize = 4;
  constexpr std::size_t kTimeSize = 8;
  if (bytes.size() > kLargestFile) return std::nullopt;
  const auto old = takeHeader(bytes);
  if (!old || old->blockSize(kOldTimeSize) > bytes.size()) return std::nullopt;
  if (old->version == 0) return readBlock(bytes, *old, kOldTimeSize, std::nullopt);

  bytes.remove_prefix(static_cast<std::size_t>(old->blockSize(kOldTimeSize)));
  const auto header = takeHeader(bytes);
  if (!header || header->blockSize(kTimeSize) > bytes.size()) return std::nullopt;
  return readBlock(bytes, *header, kTimeSize,
                   readRule(bytes.substr(static_cast<std::size_t>(header->blockSize(kTimeSize)))));
}

}  // namespace pellora::ZoneFile
