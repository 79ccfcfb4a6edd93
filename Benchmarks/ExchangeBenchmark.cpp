// The cost of the exchange files: coding, sealing and writing the day notes of a usual and of a very large history,
// and the envelope against the bare calls of the cryptographic library in the same run.
#include <benchmark/benchmark.h>
#include <openssl/evp.h>
#include <openssl/rand.h>
#include <unistd.h>

#include <filesystem>

#include "PelloraMessagesCore/ExchangeCoding.h"
#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "PelloraMessagesCore/Files/SealedFile.h"
#include "PelloraMessagesCore/HelperDayNotes.h"
#include "PelloraMessagesCore/MessagesLatelyInbox.h"

namespace pellora {
namespace {

constexpr std::size_t kPeople = 30;

MessagesDayRecord numberedDay(std::size_t number) {
  std::array<std::uint8_t, 16> person{};
  person.fill(static_cast<std::uint8_t>(number % kPeople * 7));
  MessagesDayRecord day;
  day.personID = Uuid(person);
  day.day = std::to_string(1'000'000'000 + number / kPeople);
  day.handle = "+15551234567";
  day.firstMessageAt = instantAtSeconds(1'740'821'400 + static_cast<std::int64_t>(number) * 60);
  day.lastMessageAt = day.firstMessageAt + std::chrono::hours(2);
  day.sentCount = static_cast<std::int64_t>(number % 40);
  day.receivedCount = static_cast<std::int64_t>(number % 23);
  day.meetups.emplace();
  day.summary = "Sam is looking forward to the weekend and asked about the tickets.";
  if (number % 5 == 0) day.sentURLs = {"https://example.com/articles/" + std::to_string(number)};
  if (number % 20 == 0) day.news = {{"Sam got the job.", MessagesNews::Kind::work, "", day.lastMessageAt}};
  return day;
}

HelperDayNotes notesOf(std::int64_t count) {
  HelperDayNotes notes;
  for (std::int64_t number = 0; number < count; ++number)
    notes.days.push_back(numberedDay(static_cast<std::size_t>(number)));
  return notes;
}

// A folder that goes with it.
class BenchmarkFolder {
 public:
  BenchmarkFolder()
      : _path(std::filesystem::temp_directory_path() / ("pellora-benchmark-" + std::to_string(getpid()))) {}
  ~BenchmarkFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(_path, ignored);
  }
  BenchmarkFolder(const BenchmarkFolder&) = delete;
  BenchmarkFolder& operator=(const BenchmarkFolder&) = delete;

  const std::filesystem::path& path() const { return _path; }

 private:
  std::filesystem::path _path;
};

void encodeNotes(benchmark::State& state) {
  const HelperDayNotes notes = notesOf(state.range(0));
  std::size_t size = 0;
  for (auto each : state) size = ExchangeCoding::encode(notes).size();
  state.SetBytesProcessed(static_cast<std::int64_t>(size) * state.iterations());
}
BENCHMARK(encodeNotes)->Arg(2'000)->Arg(60'000)->Unit(benchmark::kMicrosecond);

void decodeNotes(benchmark::State& state) {
  const std::string json = ExchangeCoding::encode(notesOf(state.range(0)));
  for (auto each : state) benchmark::DoNotOptimize(ExchangeCoding::decode<HelperDayNotes>(json));
  state.SetBytesProcessed(static_cast<std::int64_t>(json.size()) * state.iterations());
}
BENCHMARK(decodeNotes)->Arg(2'000)->Arg(60'000)->Unit(benchmark::kMicrosecond);

void saveNotes(benchmark::State& state) {
  const BenchmarkFolder folder;
  const ExchangeKey key = ExchangeKey::random();
  const HelperDayNotes notes = notesOf(state.range(0));
  for (auto each : state) notes.save(key, folder.path());
}
BENCHMARK(saveNotes)->Arg(2'000)->Arg(60'000)->Unit(benchmark::kMicrosecond);

void loadNotes(benchmark::State& state) {
  const BenchmarkFolder folder;
  const ExchangeKey key = ExchangeKey::random();
  notesOf(state.range(0)).save(key, folder.path());
  for (auto each : state) benchmark::DoNotOptimize(HelperDayNotes::load(key, folder.path()));
}
BENCHMARK(loadNotes)->Arg(2'000)->Arg(60'000)->Unit(benchmark::kMicrosecond);

// All days handed in again unchanged, as a full read does; and nothing handed in.
void mergeNotes(benchmark::State& state) {
  HelperDayNotes notes = notesOf(state.range(0));
  const std::vector<MessagesDayRecord> records = state.range(1) != 0 ? notes.days : std::vector<MessagesDayRecord>();
  std::set<Uuid> people;
  for (const MessagesDayRecord& day : notes.days) people.insert(day.personID);
  for (auto each : state)
    benchmark::DoNotOptimize(notes.merge(records, HelperDayNotes::Reread::incremental, "", people));
}
BENCHMARK(mergeNotes)
    ->ArgNames({"days", "handedIn"})
    ->ArgsProduct({{2'000, 60'000}, {0, 1}})
    ->Unit(benchmark::kMicrosecond);

// Thirty people's records, as every read rewrites them: one by one, and together.
void writeLatelyRecords(benchmark::State& state) {
  const BenchmarkFolder folder;
  const ExchangeKey key = ExchangeKey::random();
  std::vector<MessagesLatelyRecord> records(kPeople);
  for (std::size_t person = 0; person < kPeople; ++person) {
    records[person].personID = numberedDay(person).personID;
    records[person].summary = "Sam is looking forward to the weekend and asked about the tickets.";
  }
  for (auto each : state) {
    if (state.range(0) != 0) {
      MessagesLatelyInbox::writeAll(key, folder.path(), records);
    } else {
      for (const MessagesLatelyRecord& record : records) MessagesLatelyInbox::write(key, folder.path(), record);
    }
  }
}
BENCHMARK(writeLatelyRecords)->ArgName("together")->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

void sealEnvelope(benchmark::State& state) {
  const ExchangeKey key = ExchangeKey::random();
  const std::string payload(static_cast<std::size_t>(state.range(0)), 'x');
  for (auto each : state) benchmark::DoNotOptimize(SealedEnvelope::seal(payload, key, "helper-notes"));
  state.SetBytesProcessed(state.range(0) * state.iterations());
}
BENCHMARK(sealEnvelope)->Arg(1'000)->Arg(1'000'000);

void openEnvelope(benchmark::State& state) {
  const ExchangeKey key = ExchangeKey::random();
  const std::string envelope =
      SealedEnvelope::seal(std::string(static_cast<std::size_t>(state.range(0)), 'x'), key, "helper-notes");
  for (auto each : state) benchmark::DoNotOptimize(SealedEnvelope::open(envelope, key, "helper-notes"));
  state.SetBytesProcessed(state.range(0) * state.iterations());
}
BENCHMARK(openEnvelope)->Arg(1'000)->Arg(1'000'000);

// The floor: the same cipher, one context per call, into a buffer that is there already.
void bareCipher(benchmark::State& state) {
  const ExchangeKey key = ExchangeKey::random();
  const auto size = static_cast<int>(state.range(0));
  const std::vector<std::uint8_t> payload(static_cast<std::size_t>(size), 'x');
  std::vector<std::uint8_t> output(payload.size());
  std::array<std::uint8_t, 12> nonce{};
  std::array<std::uint8_t, 16> tag{};
  for (auto each : state) {
    int written = 0;
    EVP_CIPHER_CTX* cipher = EVP_CIPHER_CTX_new();
    RAND_bytes(nonce.data(), static_cast<int>(nonce.size()));
    EVP_EncryptInit_ex(cipher, EVP_aes_256_gcm(), nullptr, key.data().span().data(), nonce.data());
    EVP_EncryptUpdate(cipher, nullptr, &written, payload.data(), static_cast<int>(tag.size()));
    EVP_EncryptUpdate(cipher, output.data(), &written, payload.data(), size);
    EVP_EncryptFinal_ex(cipher, tag.data(), &written);
    EVP_CIPHER_CTX_ctrl(cipher, EVP_CTRL_AEAD_GET_TAG, static_cast<int>(tag.size()), tag.data());
    EVP_CIPHER_CTX_free(cipher);
    benchmark::DoNotOptimize(tag);
  }
  state.SetBytesProcessed(state.range(0) * state.iterations());
}
BENCHMARK(bareCipher)->Arg(1'000)->Arg(1'000'000);

}  // namespace
}  // namespace pellora
