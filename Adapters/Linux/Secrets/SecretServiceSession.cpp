#include "Adapters/Linux/Secrets/SecretServiceSession.h"

#define SECRET_API_SUBJECT_TO_CHANGE
#include <libsecret/secret.h>

#include <algorithm>
#include <condition_variable>
#include <limits>
#include <mutex>
#include <thread>

#include "Adapters/Linux/Desktop/DesktopBus.h"

namespace pellora {

namespace {

// Cancels GLib operations once their time is over: blocking calls that have no time-out of their own take
// `cancellable()`.
class CallDeadline {
 public:
  explicit CallDeadline(std::chrono::milliseconds patience) : _end(std::chrono::steady_clock::now() + patience) {
    _guard = std::thread([this] {
      std::unique_lock lock(_mutex);
      if (!_wake.wait_until(lock, _end, [this] { return _isFinished; })) g_cancellable_cancel(_cancellable);
    });
  }
  CallDeadline(const CallDeadline&) = delete;
  CallDeadline& operator=(const CallDeadline&) = delete;
  ~CallDeadline() {
    {
      const std::lock_guard lock(_mutex);
      _isFinished = true;
    }
    _wake.notify_one();
    _guard.join();
    g_object_unref(_cancellable);
  }

  GCancellable* cancellable() const { return _cancellable; }
  // At least 1.
  int remainingMilliseconds() const {
    const auto rest = std::chrono::ceil<std::chrono::milliseconds>(_end - std::chrono::steady_clock::now());
    return static_cast<int>(std::max<std::int64_t>(rest.count(), 1));
  }
  bool isOver() const { return g_cancellable_is_cancelled(_cancellable) != 0; }

 private:
  std::chrono::steady_clock::time_point _end;
  GCancellable* _cancellable = g_cancellable_new();
  std::mutex _mutex;
  std::condition_variable _wake;
  bool _isFinished = false;
  std::thread _guard;
};

constexpr char kService[] = "org.freedesktop.secrets";
constexpr char kServicePath[] = "/org/freedesktop/secrets";
constexpr char kServiceInterface[] = "org.freedesktop.Secret.Service";
constexpr char kCollectionInterface[] = "org.freedesktop.Secret.Collection";
constexpr char kItemInterface[] = "org.freedesktop.Secret.Item";
constexpr char kPropertiesInterface[] = "org.freedesktop.DBus.Properties";
constexpr char kPromptInterface[] = "org.freedesktop.Secret.Prompt";
constexpr char kSchema[] = "app.pellora.messages.ExchangeKey";
constexpr char kNoObject[] = "/";

struct Release {
  void operator()(GVariant* value) const { g_variant_unref(value); }
  void operator()(SecretValue* value) const { secret_value_unref(value); }
  void operator()(GError* error) const { g_error_free(error); }
  void operator()(char* text) const { g_free(text); }
  void operator()(SecretService* object) const { g_object_unref(object); }
  void operator()(GDBusConnection* object) const { g_object_unref(object); }
};

template <class Type>
using Owned = std::unique_ptr<Type, Release>;

constexpr char kSecretService[] = "The secret service";

SecretServiceSession::Failure failureOf(GError* raw, const CallDeadline& deadline,
                                        const std::string& subject = kSecretService) {
  const Owned<GError> error(raw);
  if (deadline.isOver() || g_error_matches(error.get(), G_IO_ERROR, G_IO_ERROR_TIMED_OUT) ||
      g_error_matches(error.get(), G_DBUS_ERROR, G_DBUS_ERROR_NO_REPLY))
    return {false, subject + " doesn't answer."};
  if (g_error_matches(error.get(), G_DBUS_ERROR, G_DBUS_ERROR_SERVICE_UNKNOWN) ||
      g_error_matches(error.get(), G_DBUS_ERROR, G_DBUS_ERROR_NAME_HAS_NO_OWNER))
    return {false, "There is no secret service on the session bus."};
  const Owned<char> name(g_dbus_error_get_remote_error(error.get()));
  const bool locked = (name && std::string(name.get()) == "org.freedesktop.Secret.Error.IsLocked") ||
                      g_error_matches(error.get(), SECRET_ERROR, SECRET_ERROR_IS_LOCKED);
  if (locked) return {true, SecretServiceSession::kLockedReason};
  g_dbus_error_strip_remote_error(error.get());
  return {false, subject + " can't be used: " + error->message + "."};
}

GVariant* dictionary(const SecretAttributes& attributes, const char* schema) {
  GVariantBuilder builder;
  g_variant_builder_init(&builder, G_VARIANT_TYPE("a{ss}"));
  g_variant_builder_add(&builder, "{ss}", "service", attributes.service.c_str());
  g_variant_builder_add(&builder, "{ss}", "account", attributes.account.c_str());
  g_variant_builder_add(&builder, "{ss}", "access-group", attributes.accessGroup.c_str());
  if (schema != nullptr) g_variant_builder_add(&builder, "{ss}", "xdg:schema", schema);
  return g_variant_builder_end(&builder);
}

std::vector<std::string> paths(GVariant* list) {
  std::vector<std::string> result;
  for (gsize index = 0; index < g_variant_n_children(list); ++index) {
    const Owned<GVariant> child(g_variant_get_child_value(list, index));
    result.emplace_back(g_variant_get_string(child.get(), nullptr));
  }
  return result;
}

}  // namespace

class SecretServiceSession::Connection {
 public:
  explicit Connection(std::chrono::milliseconds patience) : deadline(patience) {}

  void open() {
    if (service) return;
    if (!SessionBusAddress::find()) throw Failure{false, "There is no session bus."};
    GError* error = nullptr;
    _bus.reset(g_bus_get_sync(G_BUS_TYPE_SESSION, deadline.cancellable(), &error));
    if (!_bus) throw failureOf(error, deadline, "The session bus");
    g_dbus_connection_set_exit_on_close(_bus.get(), FALSE);  // else the end of the bus would be ours
    service.reset(secret_service_open_sync(SECRET_TYPE_SERVICE, nullptr, SECRET_SERVICE_OPEN_SESSION,
                                           deadline.cancellable(), &error));
    if (!service) throw failureOf(error, deadline);
  }

  // Takes a floating `arguments`. The answer has the type asked for.
  Owned<GVariant> call(const std::string& path, const char* interface, const char* method, GVariant* arguments,
                       const char* answerType) {
    const Owned<GVariant> given(g_variant_ref_sink(arguments == nullptr ? g_variant_new_tuple(nullptr, 0) : arguments));
    open();
    GError* error = nullptr;
    Owned<GVariant> answer(g_dbus_connection_call_sync(
        _bus.get(), kService, path.c_str(), interface, method, given.get(), G_VARIANT_TYPE(answerType),
        G_DBUS_CALL_FLAGS_NONE, deadline.remainingMilliseconds(), deadline.cancellable(), &error));
    if (!answer) throw failureOf(error, deadline);
    return answer;
  }

  // Null when the value has another type.
  Owned<GVariant> property(const std::string& path, const char* interface, const char* name, const char* type) {
    const Owned<GVariant> answer =
        call(path, kPropertiesInterface, "Get", g_variant_new("(ss)", interface, name), "(v)");
    Owned<GVariant> value;
    GVariant* inner = nullptr;
    g_variant_get(answer.get(), "(v)", &inner);
    value.reset(inner);
    if (!g_variant_is_of_type(value.get(), G_VARIANT_TYPE(type))) value.reset();
    return value;
  }

  // A call that wants a prompt is given up.
  void refusePrompt(const std::string& prompt) {
    if (prompt == kNoObject) return;
    try {
      call(prompt, kPromptInterface, "Dismiss", nullptr, "()");
    } catch (const Failure&) {
    }
    throw Failure{true, SecretServiceSession::kLockedReason};
  }

  CallDeadline deadline;

 private:
  Owned<GDBusConnection> _bus;

 public:
  Owned<SecretService> service;
};

SecretServiceSession::SecretServiceSession(std::chrono::milliseconds patience)
    : _connection(std::make_unique<Connection>(patience)) {}

SecretServiceSession::~SecretServiceSession() = default;

void SecretServiceSession::cancel() {
  g_cancellable_cancel(_connection->deadline.cancellable());
}

SecretServiceSession::Items SecretServiceSession::search(const SecretAttributes& attributes) {
  const Owned<GVariant> answer =
      _connection->call(kServicePath, kServiceInterface, "SearchItems",
                        g_variant_new("(@a{ss})", dictionary(attributes, nullptr)), "(aoao)");
  const Owned<GVariant> unlocked(g_variant_get_child_value(answer.get(), 0));
  const Owned<GVariant> locked(g_variant_get_child_value(answer.get(), 1));
  return {paths(unlocked.get()), paths(locked.get())};
}

std::uint64_t SecretServiceSession::created(const std::string& item) {
  const Owned<GVariant> value = _connection->property(item, kItemInterface, "Created", "t");
  return value ? g_variant_get_uint64(value.get()) : std::numeric_limits<std::uint64_t>::max();
}

SecretBytes SecretServiceSession::secret(const std::string& item) {
  _connection->open();
  GError* error = nullptr;
  const Owned<SecretValue> value(secret_service_get_secret_for_dbus_path_sync(
      _connection->service.get(), item.c_str(), _connection->deadline.cancellable(), &error));
  if (!value && error == nullptr) throw Failure{false, "The secret service returned no secret."};
  if (!value) throw failureOf(error, _connection->deadline);
  gsize length = 0;
  const char* bytes = secret_value_get(value.get(), &length);
  return SecretBytes(std::string_view(bytes, length));
}

std::optional<std::string> SecretServiceSession::collectionForAlias(const std::string& alias) {
  const Owned<GVariant> answer =
      _connection->call(kServicePath, kServiceInterface, "ReadAlias", g_variant_new("(s)", alias.c_str()), "(o)");
  const char* path = nullptr;
  g_variant_get(answer.get(), "(&o)", &path);
  if (std::string_view(path) == kNoObject) return std::nullopt;
  return path;
}

std::vector<std::string> SecretServiceSession::collections() {
  const Owned<GVariant> value = _connection->property(kServicePath, kServiceInterface, "Collections", "ao");
  return value ? paths(value.get()) : std::vector<std::string>();
}

bool SecretServiceSession::isLocked(const std::string& collection) {
  const Owned<GVariant> value = _connection->property(collection, kCollectionInterface, "Locked", "b");
  return !value || g_variant_get_boolean(value.get()) != 0;
}

std::string SecretServiceSession::createItem(const std::string& collection, const SecretAttributes& attributes,
                                             const std::string& label, const SecretBytes& data) {
  _connection->open();
  GVariantBuilder properties;
  g_variant_builder_init(&properties, G_VARIANT_TYPE("a{sv}"));
  g_variant_builder_add(&properties, "{sv}", "org.freedesktop.Secret.Item.Label", g_variant_new_string(label.c_str()));
  g_variant_builder_add(&properties, "{sv}", "org.freedesktop.Secret.Item.Attributes", dictionary(attributes, kSchema));
  const Owned<SecretValue> value(secret_value_new(reinterpret_cast<const char*>(data.span().data()),
                                                  static_cast<gssize>(data.size()), "application/octet-stream"));
  GVariant* secret = secret_service_encode_dbus_secret(_connection->service.get(), value.get());
  GVariant* arguments = g_variant_new("(@a{sv}@(oayays)b)", g_variant_builder_end(&properties), secret, FALSE);
  const Owned<GVariant> answer = _connection->call(collection, kCollectionInterface, "CreateItem", arguments, "(oo)");
  const char* item = nullptr;
  const char* prompt = nullptr;
  g_variant_get(answer.get(), "(&o&o)", &item, &prompt);
  _connection->refusePrompt(prompt);
  return item;
}

void SecretServiceSession::deleteItem(const std::string& item) {
  const Owned<GVariant> answer = _connection->call(item, kItemInterface, "Delete", nullptr, "(o)");
  const char* prompt = nullptr;
  g_variant_get(answer.get(), "(&o)", &prompt);
  _connection->refusePrompt(prompt);
}

}  // namespace pellora
