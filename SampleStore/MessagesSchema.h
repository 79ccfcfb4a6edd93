// The tables, indexes and triggers of a recent Messages store, as SQL scripts. The triggers are those that need
// nothing but SQL, so any process can write to the store. Indexes and triggers come apart from the tables because
// a store of a million messages is filled faster without them.
#pragma once

namespace pellora {

class MessagesSchema {
 public:
  static const char* tables();
  static const char* indexes();
  static const char* triggers();
};

}  // namespace pellora
