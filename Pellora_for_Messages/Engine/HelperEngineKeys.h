// The engine's user-defaults keys and the version of the day notes' format. Raising the version makes the next
// read of every installation rebuild the notes from nothing.
#pragma once

#include <cstdint>

namespace pellora::HelperEngineKeys {

inline constexpr char kLastRow[] = "messages.lastRowID";
inline constexpr char kPeople[] = "messages.peopleFingerprint";
inline constexpr char kLastRead[] = "messages.lastReadAt";
inline constexpr char kNotesVersion[] = "messages.notesVersion";
inline constexpr char kNotesMark[] = "messages.notesMark";  // of the notes file that the progress belongs to
inline constexpr char kLoginChoice[] = "messages.loginItemDecided";

inline constexpr std::int64_t kCurrentNotesVersion = 9;

}  // namespace pellora::HelperEngineKeys
