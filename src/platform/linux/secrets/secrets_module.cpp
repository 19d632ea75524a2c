#include "platform/linux/secrets/secrets_module.hpp"

#include <libsecret/secret.h>

#include <chrono>
#include <future>
#include <memory>
#include <system_error>
#include <thread>
#include <utility>

namespace vantorel {
namespace {

constexpr auto bound = std::chrono::milliseconds(2500);

template <class Thing>
struct Unref {
  void operator()(Thing* thing) const { g_object_unref(thing); }
};
template <class Thing>
using Owned = std::unique_ptr<Thing, Unref<Thing>>;

struct ValueUnref {
  void operator()(SecretValue* value) const { secret_value_unref(value); }
};

const SecretSchema schema{.name = "com.hollen.Vantorel.mcp",
                          .flags = SECRET_SCHEMA_NONE,
                          .attributes = {{"service", SECRET_SCHEMA_ATTRIBUTE_STRING},
                                         {"account", SECRET_SCHEMA_ATTRIBUTE_STRING},
                                         {"description", SECRET_SCHEMA_ATTRIBUTE_STRING},
                                         {nullptr, SECRET_SCHEMA_ATTRIBUTE_STRING}}};

/// The error of a call, which goes with it.
class CallError {
 public:
  CallError() = default;
  ~CallError() { g_clear_error(&error_); }
  CallError(const CallError&) = delete;
  CallError& operator=(const CallError&) = delete;

  GError** place() { return &error_; }
  [[nodiscard]] bool isSet() const { return error_ != nullptr; }
  [[nodiscard]] std::unexpected<Failure> failure() const {
    const bool isStopped = g_error_matches(error_, G_IO_ERROR, G_IO_ERROR_CANCELLED) != 0;
    const bool isLocked = g_error_matches(error_, SECRET_ERROR, SECRET_ERROR_IS_LOCKED) != 0;
    return failed(isStopped  ? FailureKind::timedOut
                  : isLocked ? FailureKind::denied
                             : FailureKind::unreachable,
                  error_ == nullptr ? "there is none" : error_->message);
  }

 private:
  GError* error_ = nullptr;
};

struct TableUnref {
  void operator()(GHashTable* table) const { g_hash_table_unref(table); }
};
using Attributes = std::unique_ptr<GHashTable, TableUnref>;

Attributes attributesOf(const KeptSecret& item) {
  return Attributes(secret_attributes_build(&schema, "service", item.service.c_str(), "account",
                                            item.account.c_str(), nullptr));
}

/// The attributes that it is stored with as well.
Attributes allAttributesOf(const KeptSecret& item) {
  return Attributes(secret_attributes_build(&schema, "service", item.service.c_str(), "account",
                                            item.account.c_str(), "description",
                                            item.description.c_str(), nullptr));
}

Result<Owned<SecretService>> connect(GCancellable* cancellable) {
  CallError error;
  const Owned<GDBusConnection> bus(g_bus_get_sync(G_BUS_TYPE_SESSION, cancellable, error.place()));
  if (!bus) return error.failure();
  // Else the library ends this process when the session's bus goes.
  g_dbus_connection_set_exit_on_close(bus.get(), FALSE);
  // It keeps the one it knows, which may have been replaced.
  secret_service_disconnect();
  Owned<SecretService> service(
      secret_service_get_sync(SECRET_SERVICE_NONE, cancellable, error.place()));
  if (!service) return error.failure();
  return service;
}

Result<std::optional<std::string>> readNow(const KeptSecret& item, GCancellable* cancellable) {
  const Owned<SecretService> service = VT_TRY(connect(cancellable));
  CallError error;
  // Without SECRET_SEARCH_UNLOCK, which would ask the user for a password.
  GList* const found =
      secret_service_search_sync(service.get(), &schema, attributesOf(item).get(),
                                 SECRET_SEARCH_LOAD_SECRETS, cancellable, error.place());
  if (error.isSet()) return error.failure();
  if (found == nullptr) return std::optional<std::string>{};
  const Owned<SecretItem> first(static_cast<SecretItem*>(g_object_ref(found->data)));
  g_list_free_full(found, g_object_unref);
  const std::unique_ptr<SecretValue, ValueUnref> value(secret_item_get_secret(first.get()));
  if (!value) return failed(FailureKind::denied, "the keyring is locked");
  const char* const text = secret_value_get_text(value.get());
  return std::optional<std::string>(text == nullptr ? "" : text);
}

Result<void> writeNow(const KeptSecret& item, const std::string& secret,
                      GCancellable* cancellable) {
  const Owned<SecretService> service = VT_TRY(connect(cancellable));
  CallError error;
  // Stored in one that is locked or missing, it would ask the user for a password.
  const Owned<SecretCollection> collection(
      secret_collection_for_alias_sync(service.get(), SECRET_COLLECTION_DEFAULT,
                                       SECRET_COLLECTION_NONE, cancellable, error.place()));
  if (!collection) return error.failure();
  if (secret_collection_get_locked(collection.get()) != 0) {
    return failed(FailureKind::denied, "the keyring is locked");
  }
  const std::unique_ptr<SecretValue, ValueUnref> value(
      secret_value_new(secret.c_str(), static_cast<gssize>(secret.size()), "text/plain"));
  const bool isStored =
      secret_service_store_sync(service.get(), &schema, allAttributesOf(item).get(),
                                SECRET_COLLECTION_DEFAULT, item.label.c_str(), value.get(),
                                cancellable, error.place()) != 0;
  if (!isStored) return error.failure();
  return {};
}

Result<void> removeNow(const KeptSecret& item, GCancellable* cancellable) {
  const Owned<SecretService> service = VT_TRY(connect(cancellable));
  CallError error;
  secret_service_clear_sync(service.get(), &schema, attributesOf(item).get(), cancellable,
                            error.place());
  if (error.isSet()) return error.failure();
  return {};
}

/// Runs `job` on a thread of its own, which is left behind when it does not end in time: a bus may
/// take a connection and then say nothing, where cancelling does not reach.
template <class Answer, class Job>
Answer bounded(Job job) {
  const std::shared_ptr<GCancellable> cancellable(g_cancellable_new(), g_object_unref);
  std::promise<Answer> promise;
  std::future<Answer> answer = promise.get_future();
  try {
    std::thread([cancellable, promise = std::move(promise), job = std::move(job)]() mutable {
      promise.set_value(job(cancellable.get()));
    }).detach();
  } catch (const std::system_error&) {
    return failed(FailureKind::other, "the system refuses another thread");
  }
  if (answer.wait_for(bound) == std::future_status::ready) return answer.get();
  g_cancellable_cancel(cancellable.get());
  return failed(FailureKind::timedOut, "the keyring does not answer");
}

Result<std::optional<std::string>> read(const KeptSecret& item) {
  return bounded<Result<std::optional<std::string>>>(
      [item](GCancellable* cancellable) { return readNow(item, cancellable); });
}

Result<void> write(const KeptSecret& item, const std::string& secret) {
  return bounded<Result<void>>(
      [item, secret](GCancellable* cancellable) { return writeNow(item, secret, cancellable); });
}

Result<void> remove(const KeptSecret& item) {
  return bounded<Result<void>>(
      [item](GCancellable* cancellable) { return removeNow(item, cancellable); });
}

}  // namespace

extern "C" __attribute__((visibility("default"))) const SecretsModule* vantorelSecretsModule() {
  static constexpr SecretsModule module{.read = read, .write = write, .remove = remove};
  return &module;
}

}  // namespace vantorel
