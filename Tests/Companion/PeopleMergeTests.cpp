#include <gmock/gmock.h>

#include "Companion/People/PeopleMerge.h"
#include "Companion/People/StoreHandles.h"

namespace pellora {
namespace {

using Kind = PersonChange::Kind;
using Mode = PeopleMerge::Mode;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr char kId[] = "6F1C3A52-0D1B-4E7A-9A55-1F6C2B7D9E10";

const HelperPerson kAnna{*Uuid::parse(kId), "Anna", {"5551234567"}, {"a@x.org"}};
const HelperPerson kBob{*Uuid::parse("00000000-0000-4000-8000-000000000002"), "Bob", {"5559876543"}, {}};

ImportedPerson imported(const std::string& name, std::vector<std::string> phones, std::vector<std::string> emails = {},
                        const std::string& uid = {}) {
  return {name, name, uid, std::move(phones), std::move(emails)};
}

std::vector<Kind> kinds(const PeopleMerge& merge) {
  std::vector<Kind> result;
  for (const PersonChange& change : merge.changes) result.push_back(change.kind);
  return result;
}

TEST(PeopleMerge, PeopleWhoAreThereStayAndNewOnesFollow) {
  const auto merge = PeopleMerge::merge({kAnna, kBob}, {imported("Carla", {"5550000000"})}, Mode::add);
  ASSERT_THAT(merge.people, SizeIs(3));
  EXPECT_EQ(merge.people[0], kAnna);
  EXPECT_EQ(merge.people[1], kBob);
  EXPECT_EQ(merge.people[2].firstName, "Carla");
  EXPECT_THAT(kinds(merge), ElementsAre(Kind::added));
}

TEST(PeopleMerge, AUuidFromTheSourceIsTheIdentifier) {
  for (const char* uid : {kId, "6f1c3a52-0d1b-4e7a-9a55-1f6c2b7d9e10", "urn:uuid:6F1C3A52-0D1B-4E7A-9A55-1F6C2B7D9E10",
                          "6F1C3A52-0D1B-4E7A-9A55-1F6C2B7D9E10:ABPerson"}) {
    const auto merge = PeopleMerge::merge({}, {imported("Anna", {"5551234567"}, {}, uid)}, Mode::add);
    EXPECT_EQ(merge.people[0].id.toString(), kId) << uid;
  }
}

TEST(PeopleMerge, AnyOtherIdentifierOfTheSourceGivesAlwaysTheSameOne) {
  const auto person = imported("Anna", {"5551234567"}, {}, "pas-id-5F3A-0001");
  const auto first = PeopleMerge::merge({}, {person}, Mode::add);
  const auto second = PeopleMerge::merge({}, {imported("Anne", {"5550000000"}, {}, "pas-id-5F3A-0001")}, Mode::add);
  EXPECT_EQ(first.people[0].id, second.people[0].id);
  EXPECT_EQ(first.people[0].id, stableUuid("pas-id-5F3A-0001"));
}

TEST(PeopleMerge, RowNumbersOfTwoTablesAreDifferentPeople) {
  const auto first = PeopleMerge::merge({}, {imported("Anna", {"5551234567"}, {}, "1")}, Mode::add);
  const auto second = PeopleMerge::merge(first.people, {imported("Bob", {"5559876543"}, {}, "1")}, Mode::add);
  EXPECT_THAT(second.people, SizeIs(2));
}

TEST(PeopleMerge, TheSameUidKeepsTheIdentifierWhateverElseChanged) {
  const auto merge = PeopleMerge::merge({kAnna}, {imported("Annette", {"5550000000"}, {}, kId)}, Mode::add);
  EXPECT_THAT(merge.people, ElementsAre(HelperPerson{kAnna.id, "Annette", {"5550000000"}, {}}));
  EXPECT_THAT(kinds(merge), ElementsAre(Kind::updated));
}

struct Namesake {
  const char* what;
  ImportedPerson person;
  bool isSame;
};

TEST(PeopleMerge, NameWithASharedNumberOrAddressIsTheSamePerson) {
  const Namesake kNamesakes[] = {
      {"number", imported("Anna", {"5551234567"}), true},
      {"address", imported("Anna", {"5550000000"}, {"a@x.org"}), true},
      {"another case", imported("ANNA", {"5551234567"}), true},
      {"another uid", imported("Anna", {"5551234567"}, {}, "some-other-identifier"), true},
      {"another name", imported("Hanna", {"5551234567"}), false},
      {"another number", imported("Anna", {"5550000000"}), false},
  };
  for (const Namesake& namesake : kNamesakes) {
    const auto merge = PeopleMerge::merge({kAnna}, {namesake.person}, Mode::add);
    EXPECT_EQ(merge.people.size() == 1 && merge.people[0].id == kAnna.id, namesake.isSame) << namesake.what;
  }
}

TEST(PeopleMerge, NamesAreComparedCanonicallyAndFullyFolded) {
  const HelperPerson joerg{kAnna.id, "J\xC3\xB6rg Wei\xC3\x9F", {"5551234567"}, {}};
  const auto merge = PeopleMerge::merge({joerg}, {imported("JO\xCC\x88RG WEISS", {"5551234567"})}, Mode::add);
  EXPECT_THAT(merge.people, SizeIs(1));
}

TEST(PeopleMerge, AnotherOrderOfTheSameNumbersIsNoChange) {
  const HelperPerson anna{kAnna.id, "Anna", {"5551234567", "5550000000"}, {}};
  const auto merge = PeopleMerge::merge({anna}, {imported("Anna", {"5550000000", "5551234567"})}, Mode::add);
  EXPECT_THAT(merge.people, ElementsAre(anna));
  EXPECT_THAT(kinds(merge), ElementsAre(Kind::unchanged));
}

TEST(PeopleMerge, EntriesOfOneImportThatAreTheSamePersonAreJoined) {
  const auto merge = PeopleMerge::merge(
      {}, {imported("Anna", {"5551234567"}), imported("anna", {"5551234567", "5550000000"}, {"a@x.org"})}, Mode::add);
  ASSERT_THAT(merge.people, SizeIs(1));
  EXPECT_THAT(merge.people[0].phones, ElementsAre("5551234567", "5550000000"));
  EXPECT_THAT(merge.people[0].emails, ElementsAre("a@x.org"));
  EXPECT_THAT(kinds(merge), ElementsAre(Kind::added));
}

TEST(PeopleMerge, ReplacingLeavesTheImportOnlyAndKeepsIdentifiers) {
  const auto merge = PeopleMerge::merge({kBob, kAnna}, {imported("Anna", {"5551234567"}, {"a@x.org"})}, Mode::replace);
  EXPECT_THAT(merge.people, ElementsAre(kAnna));
  EXPECT_THAT(kinds(merge), ElementsAre(Kind::unchanged, Kind::removed));
}

TEST(PeopleMerge, AnImportWithoutANameKeepsTheName) {
  const auto merge = PeopleMerge::merge({kAnna}, {imported("", {"5551234567"}, {}, kId)}, Mode::add);
  EXPECT_EQ(merge.people[0].firstName, "Anna");
}

TEST(SharedHandle, NamesEverybodyWhoClaimsANumber) {
  const HelperPerson carla{Uuid(), "Carla", {"5551234567"}, {"a@x.org"}};
  const auto shared = SharedHandle::find({kAnna, kBob, carla});
  ASSERT_THAT(shared, SizeIs(2));
  EXPECT_EQ(shared[0].sentence(), "5551234567 is claimed by Anna and Carla, so it will match nobody.");
  EXPECT_EQ(shared[1].handle, "a@x.org");
}

TEST(SharedHandle, OnePersonWhoListsANumberTwiceOwnsIt) {
  EXPECT_THAT(SharedHandle::find({{kAnna.id, "Anna", {"5551234567", "5551234567"}, {}}, kBob}), IsEmpty());
}

}  // namespace
}  // namespace pellora
