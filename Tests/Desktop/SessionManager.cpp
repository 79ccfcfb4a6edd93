// A session manager of the X session protocol for one client: prints the address to connect to as SESSION_MANAGER,
// waits for a client, ends the session as a desktop does at logout (save yourself, die) and exits with 0 when the
// client closed its connection after that, with 1 otherwise. The client's restart hint is printed last.
#include <X11/ICE/ICElib.h>
#include <X11/ICE/ICEutil.h>
#include <X11/SM/SMlib.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr int kPatience = 30'000;  // milliseconds for anything to happen

SmsConn client = nullptr;
bool isSaved = false;
bool isClosed = false;
int restartHint = -1;

Status registerClient(SmsConn connection, SmPointer, char* previous) {
  std::free(previous);
  SmsRegisterClientReply(connection, SmsGenerateClientID(connection));
  // The first saving that a new client expects.
  SmsSaveYourself(connection, SmSaveLocal, 0, SmInteractStyleNone, 0);
  return 1;
}

void saved(SmsConn connection, SmPointer, Bool) {
  static int savings = 0;
  if (++savings == 1) {
    SmsSaveComplete(connection);
    SmsSaveYourself(connection, SmSaveBoth, 1, SmInteractStyleAny, 0);
    return;
  }
  isSaved = true;
  SmsDie(connection);
}

void closed(SmsConn connection, SmPointer, int count, char** reasons) {
  SmFreeReasons(count, reasons);
  isClosed = true;
  SmsCleanUp(connection);
}

void setProperties(SmsConn, SmPointer, int count, SmProp** properties) {
  for (int index = 0; index < count; ++index) {
    if (std::strcmp(properties[index]->name, SmRestartStyleHint) == 0 && properties[index]->num_vals > 0)
      restartHint = *static_cast<const unsigned char*>(properties[index]->vals[0].value);
    SmFreeProperty(properties[index]);
  }
  std::free(properties);
}

Status accept(SmsConn connection, SmPointer, unsigned long* mask, SmsCallbacks* callbacks, char**) {
  client = connection;
  std::memset(callbacks, 0, sizeof *callbacks);
  callbacks->register_client.callback = registerClient;
  callbacks->interact_request.callback = [](SmsConn each, SmPointer, int) { SmsInteract(each); };
  callbacks->interact_done.callback = [](SmsConn, SmPointer, Bool) {};
  callbacks->save_yourself_request.callback = [](SmsConn, SmPointer, int, Bool, int, Bool, Bool) {};
  callbacks->save_yourself_phase2_request.callback = [](SmsConn each, SmPointer) { SmsSaveYourselfPhase2(each); };
  callbacks->save_yourself_done.callback = saved;
  callbacks->close_connection.callback = closed;
  callbacks->set_properties.callback = setProperties;
  callbacks->delete_properties.callback = [](SmsConn, SmPointer, int, char**) {};
  callbacks->get_properties.callback = [](SmsConn each, SmPointer) { SmsReturnProperties(each, 0, nullptr); };
  *mask = SmsRegisterClientProcMask | SmsInteractRequestProcMask | SmsInteractDoneProcMask |
          SmsSaveYourselfRequestProcMask | SmsSaveYourselfP2RequestProcMask | SmsSaveYourselfDoneProcMask |
          SmsCloseConnectionProcMask | SmsSetPropertiesProcMask | SmsDeletePropertiesProcMask |
          SmsGetPropertiesProcMask;
  return 1;
}

bool isReadable(int descriptor) {
  pollfd waiting{descriptor, POLLIN, 0};
  return poll(&waiting, 1, kPatience) == 1;
}

}  // namespace

int main() {
  char error[256] = "";
  if (!SmsInitialize("Test", "1", accept, nullptr, [](char*) -> Bool { return 1; }, sizeof error, error)) return 1;
  int count = 0;
  IceListenObj* listeners = nullptr;
  if (!IceListenForConnections(&count, &listeners, sizeof error, error)) return 1;
  for (int index = 0; index < count; ++index)
    IceSetHostBasedAuthProc(listeners[index], [](char*) -> Bool { return 1; });
  char* address = IceComposeNetworkIdList(count, listeners);
  std::printf("%s\n", address);
  std::fflush(stdout);
  std::vector<pollfd> waiting;
  for (int index = 0; index < count; ++index)
    waiting.push_back({IceGetListenConnectionNumber(listeners[index]), POLLIN, 0});
  if (poll(waiting.data(), waiting.size(), kPatience) < 1) return 1;
  const auto called =
      std::find_if(waiting.begin(), waiting.end(), [](const pollfd& each) { return each.revents != 0; });
  IceListenObj listener = listeners[called - waiting.begin()];
  IceAcceptStatus status = IceAcceptSuccess;
  IceConn connection = IceAcceptConnection(listener, &status);
  if (connection == nullptr) return 1;
  while (!isClosed && isReadable(IceConnectionNumber(connection))) {
    const IceProcessMessagesStatus outcome = IceProcessMessages(connection, nullptr, nullptr);
    if (outcome != IceProcessMessagesSuccess) break;
  }
  std::printf("%d\n", restartHint);
  return isSaved ? 0 : 1;
}
