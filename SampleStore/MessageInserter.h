// Messages, chats and handles put into a store as Messages itself writes them: the archived body, and the rows.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "PelloraMessagesCore/Time/Instant.h"
#include "SampleStore/SampleDialogue.h"
#include "SampleStore/StoreConnection.h"

namespace pellora {

// Writes the typed archive stream in which a Messages store keeps the body of a message: one attributed string
// with one run of attributes over the whole text.
//
//   04 0B "streamtyped" 81 E8 03                  version, length, signature, system version 1000
//   84 01 40                                      one object
//   84 84 84 12 "NSAttributedString" 00           its class, its superclasses, the string's class
//   84 84 08 "NSObject" 00 85 92
//   84 84 84 08 "NSString" 01 94                  (the mutable forms add a class of their own before it)
//   84 01 2B  length  UTF-8                       length: one byte, or 81 + 16 bits, or 82 + 32 bits, little endian
//   86 84 02 69 49 01 length                      a run and its length in UTF-16 units
//   92 84 84 84 0C "NSDictionary" 00 94 ...       the run's attributes
class AttributedBodyEncoder {
 public:
  enum class StringClass { plain, mutableString };

  // `text` is valid UTF-8 of less than 2 GiB.
  static std::string encode(std::string_view text, StringClass stringClass);
};

// Prepared statements that put messages, chats and handles into a store, as Messages itself fills the columns. Used
// by one writer at a time over one connection, which must outlive it.
class MessageInserter {
 public:
  enum class DateUnit { nanoseconds, seconds };

  struct Chat {
    std::int64_t rowID = 0;
    std::int64_t handle = 0;  // of the one who writes when it is not the user; the first one's in a group
  };

  MessageInserter(StoreConnection& connection, std::uint64_t seed);

  // `service` as in "iMessage". More than one handle makes a group.
  Chat addChat(const std::vector<std::string>& handles, const std::string& service);

  void addMessage(const Chat& chat, const SampleLine& line, Instant date, DateUnit unit = DateUnit::nanoseconds);
  // A reaction to the message added last.
  void addTapback(const Chat& chat, bool fromMe, Instant date);
  void addRename(const Chat& chat, const std::string& title, Instant date);

 private:
  struct Row {
    const Chat& chat;
    bool fromMe = false;
    std::string text;
    Instant date;
    DateUnit unit = DateUnit::nanoseconds;
    int associatedType = 0;
    int itemType = 0;
    std::string associatedGuid;
  };

  std::int64_t insert(const Row& row);
  std::string newGuid();

  StoreConnection& _connection;
  SampleRandom _random;
  StoreStatement _message;
  StoreStatement _join;
  StoreStatement _attachment;
  StoreStatement _attachmentJoin;
  std::string _lastGuid;
};

}  // namespace pellora
