// Prepared statements that put messages, chats and handles into a store, as Messages itself fills the columns. Used
// by one writer at a time over one connection, which must outlive it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "PelloraMessagesCore/Time/Instant.h"
#include "SampleStore/SampleDialogue.h"
#include "SampleStore/SamplePerson.h"
#include "SampleStore/StoreConnection.h"

namespace pellora {

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
