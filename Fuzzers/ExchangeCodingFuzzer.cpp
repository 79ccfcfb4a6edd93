// The JSON of every exchange file: any bytes give a value or nothing, and what was read is the same after it was
// written and read again. The first byte chooses the kind of file.
#include <cstdint>
#include <cstdlib>

#include "PelloraMessagesCore/ExchangeCoding.h"
#include "PelloraMessagesCore/HelperDayNotes.h"
#include "PelloraMessagesCore/HelperExchange.h"
#include "PelloraMessagesCore/HelperState.h"
#include "PelloraMessagesCore/MessagesLatelyRecord.h"
#include "PelloraMessagesCore/Time/Instant.h"

namespace {

namespace ExchangeCoding = pellora::ExchangeCoding;

template <class Value>
void goRound(std::string_view json) {
  const auto value = ExchangeCoding::decode<Value>(json);
  if (!value) return;
  const std::string written = ExchangeCoding::encode(*value);
  if (written.find('\n') != std::string::npos) std::abort();
  const auto again = ExchangeCoding::decode<Value>(written);
  if (!again || *again != *value || ExchangeCoding::encode(*again) != written) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string_view json(reinterpret_cast<const char*>(data) + 1, size - 1);
  switch (data[0] % 6) {
    case 0:
      goRound<pellora::HelperPeopleFile>(json);
      break;
    case 1:
      goRound<pellora::HelperHeartbeat>(json);
      break;
    case 2:
      goRound<pellora::HelperDayNotes>(json);
      break;
    case 3:
      goRound<pellora::HelperState>(json);
      break;
    case 4:
      goRound<pellora::MessagesLatelyRecord>(json);
      break;
    default:
      if (const auto date = pellora::IsoDate::parseSeconds(json))
        if (pellora::IsoDate::parseSeconds(pellora::IsoDate::text(*date)) != date) std::abort();
  }
  return 0;
}
