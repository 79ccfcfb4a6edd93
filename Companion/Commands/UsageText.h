// What the command line says about itself: help in plain words, and one sentence about a command line that is wrong.
// Tested by Tests/Companion/ProgramTests.cpp.
#pragma once

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

namespace pellora::UsageText {

// The ends of the help pages: what the options do not say, examples, and at last the exit codes.

inline constexpr char kExitCodes[] =
    "\nExit codes: 0 done, 1 could not (one sentence on standard error), 2 wrong usage.\n"
    "Environment: PELLORA_SECRET_STORE=file (the key in a file instead of the keyring), NO_COLOR, COLUMNS.";

inline constexpr char kExamples[] =
    "Examples:\n"
    "  pellora-companion people import contacts.vcf\n"
    "  pellora-companion status\n"
    "  pellora-companion lately\n"
    "  pellora-companion lately Anna --json\n";

inline constexpr char kImportExamples[] =
    "FILE is a JSON list, jCards, a table (CSV), vCards or LDIF, told apart by content.\n"
    "People already there stay; the same person is updated. Organizations, groups\n"
    "and entries without a number or address are skipped, and the output says why.\n\n"
    "Examples:\n"
    "  pellora-companion people import contacts.vcf\n"
    "  pellora-companion people import --dry-run people.csv\n"
    "  pellora-companion people import --replace people.json\n"
    "  pellora-companion people import contacts.vcf --country FR --only Ada --only Bob\n"
    "  pellora-companion people list --json | pellora-companion people import -\n";

inline constexpr char kHistoryExamples[] =
    "PATH is a database file, a folder that holds chat.db (a mounted home, a copied\n"
    "folder), or a phone backup (a folder with Manifest.db). Nothing in it is changed;\n"
    "the history in ~/Library/Messages is replaced whole or not at all. The password\n"
    "of an encrypted backup is asked for, or read from --password-file.\n\n"
    "Examples:\n"
    "  pellora-companion history add ~/backup/00008030-001A\n"
    "  pellora-companion history add /media/disk/Users/ada/Library/Messages\n"
    "  pellora-companion history refresh\n"
    "  pellora-companion history status\n";

inline constexpr char kListExamples[] =
    "Examples:\n"
    "  pellora-companion people list\n"
    "  pellora-companion people suggest\n"
    "  pellora-companion people remove Ada\n"
    "  pellora-companion people list --json\n";

inline constexpr char kStatusExamples[] =
    "Examples:\n"
    "  pellora-companion status\n"
    "  pellora-companion status --json\n";

inline constexpr char kReadNowExamples[] =
    "Needs a running helper (pellora-for-messages) on the session bus.\n\n"
    "Example:\n"
    "  pellora-companion read-now && pellora-companion status\n";

inline constexpr char kLatelyExamples[] =
    "PERSON is a first name (upper or lower case), a number, an address or an\n"
    "identifier; without it, everybody: people who wait for your reply first.\n\n"
    "Examples:\n"
    "  pellora-companion lately\n"
    "  pellora-companion lately Anna\n"
    "  pellora-companion lately anna@example.org --json\n"
    "  pellora-companion lately --html lately.html\n";

inline constexpr char kViewExamples[] =
    "The page lies in the runtime folder, readable by you only, until the session ends.\n\n"
    "Examples:\n"
    "  pellora-companion view\n"
    "  pellora-companion view Anna\n";

inline constexpr char kRereadExamples[] =
    "For answers from another model, or when the notes seem wrong. It takes as long as a\n"
    "first read, except for the model's answers, which stay without --language.\n\n"
    "Examples:\n"
    "  pellora-companion reread\n"
    "  pellora-companion reread --language\n";

inline constexpr char kSetupExamples[] =
    "Goes through history, people, language model and start at login, and asks for what\n"
    "is missing. Without a terminal it says what is missing; done (0) when nothing is.\n\n"
    "Example:\n"
    "  pellora-companion setup\n";

inline constexpr char kKeyPlaceExamples[] =
    "For desktops and machines without a keyring. The helper and the shell then agree\n"
    "without PELLORA_SECRET_STORE, which still wins where it is set.\n\n"
    "Examples:\n"
    "  pellora-companion key use-file\n"
    "  pellora-companion key use-keyring\n";

inline constexpr char kDeleteExamples[] =
    "While the person is in the people file, the helper's next read writes a new record.\n\n"
    "Example:\n"
    "  pellora-companion delete Anna\n";

inline constexpr char kSweepExamples[] =
    "Records of people who left the people file go too; a file that cannot be read stays.\n\n"
    "Example:\n"
    "  pellora-companion sweep\n";

inline constexpr char kKeyExamples[] =
    "The key itself is never shown. Done (0) only if there is one.\n\n"
    "Example:\n"
    "  pellora-companion key || pellora-companion people import contacts.vcf\n";

inline constexpr char kModelExamples[] =
    "Environment: PELLORA_MODEL_URL (http://127.0.0.1:PORT or unix:/path/to.sock),\n"
    "PELLORA_MODEL (which one, when the server lists several).\n\n"
    "Examples:\n"
    "  pellora-companion model\n"
    "  pellora-companion model --try\n"
    "  pellora-companion model use http://127.0.0.1:11434 --model qwen3:4b-instruct\n"
    "  pellora-companion model evaluate\n";

inline constexpr char kEvaluateExamples[] =
    "Asks the helper's own questions about 600 invented days and judges what the\n"
    "guards keep of the answers. Done (0) only if the model is good enough.\n\n"
    "Examples:\n"
    "  pellora-companion model evaluate\n"
    "  pellora-companion model evaluate --repeat 2 --json\n"
    "  pellora-companion model evaluate --ceiling\n";

inline constexpr char kJsonHelp[] = "for scripts: one line of JSON";

// Help without the library's own words: an option's value is named ("FILE"), not its type or what it excludes.
std::shared_ptr<CLI::FormatterBase> plainHelp();

// What is wrong with the command line. `command` is the last command that it names.
std::string whatIsWrong(const CLI::App& command, const CLI::ParseError& error);

}  // namespace pellora::UsageText
