// Records of the exchange files with every field filled, for tests and benchmarks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "PelloraMessagesCore/HelperState.h"
#include "PelloraMessagesCore/MessagesDayRecord.h"
#include "PelloraMessagesCore/MessagesLatelyRecord.h"

namespace pellora::support {

// 2025-03-01T09:30:00Z.
inline constexpr std::int64_t kSampleSecond = 1'740'821'400;

inline constexpr std::int64_t kSecondsPerDay = 86'400;

inline constexpr char kSamplePerson[] = "6F1C3A52-0D1B-4E7A-9A55-1F6C2B7D9E10";
inline const Uuid kAnna = *Uuid::parse(kSamplePerson);
inline const Uuid kSam = *Uuid::parse("6F1C3A52-0D1B-4E7A-9A55-1F6C2B7D9E11");

MessagesDayRecord sampleDay();

// `count` different days of a few people, oldest first, of the size that real ones have.
std::vector<MessagesDayRecord> sampleDays(std::size_t count);

MessagesLatelyRecord sampleLately();

HelperState sampleState();

}  // namespace pellora::support
