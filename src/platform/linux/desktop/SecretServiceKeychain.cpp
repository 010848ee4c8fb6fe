#include "platform/linux/desktop/SecretServiceKeychain.h"

#include "platform/linux/desktop/GLib.h"

#include <QTimer>

#include <libsecret/secret.h>

#include <atomic>
#include <future>
#include <thread>
#include <utility>

using namespace Qt::StringLiterals;

namespace quorvel::platform {

namespace {

using Attributes = std::unique_ptr<GHashTable, Releaser<&g_hash_table_unref>>;
using Value = std::unique_ptr<SecretValue, Releaser<[](SecretValue* value) { secret_value_unref(value); }>>;

constexpr auto refusal = "This call must not ask the user";

GVariant* refusePrompt(SecretService* /*service*/, SecretPrompt* /*prompt*/, GCancellable* /*cancellable*/,
                       const GVariantType* /*returnType*/, GError** error)
{
    g_set_error_literal(error, SECRET_ERROR, SECRET_ERROR_IS_LOCKED, refusal);
    return nullptr;
}

void startRefusingPrompt(SecretService* service, SecretPrompt* /*prompt*/, const GVariantType* /*returnType*/,
                         GCancellable* cancellable, GAsyncReadyCallback callback, gpointer data)
{
    const Object<GTask> task(g_task_new(service, cancellable, callback, data));
    g_task_return_new_error(task.get(), SECRET_ERROR, SECRET_ERROR_IS_LOCKED, refusal);
}

GVariant* finishRefusingPrompt(SecretService* /*service*/, GAsyncResult* result, GError** error)
{
    return static_cast<GVariant*>(g_task_propagate_pointer(G_TASK(result), error));
}

void makePromptless(gpointer serviceClass, gpointer /*data*/)
{
    auto* const methods = static_cast<SecretServiceClass*>(serviceClass);
    methods->prompt_sync = &refusePrompt;
    methods->prompt_async = &startRefusingPrompt;
    methods->prompt_finish = &finishRefusingPrompt;
}

/// A service that fails where it would have to ask the user.
GType promptlessService()
{
    static const GType type =
        g_type_register_static_simple(SECRET_TYPE_SERVICE, "QuorvelPromptlessService", sizeof(SecretServiceClass),
                                      &makePromptless, sizeof(SecretService), nullptr, G_TYPE_FLAG_NONE);
    return type;
}

/// Items are told apart by these two attributes alone, whoever made them.
const SecretSchema* schema()
{
    static const SecretSchema schema = [] {
        SecretSchema made{};
        made.name = "org.freedesktop.Secret.Generic";
        made.flags = SECRET_SCHEMA_DONT_MATCH_NAME;
        made.attributes[0] = {.name = "service", .type = SECRET_SCHEMA_ATTRIBUTE_STRING};
        made.attributes[1] = {.name = "account", .type = SECRET_SCHEMA_ATTRIBUTE_STRING};
        return made;
    }();
    return &schema;
}

Attributes attributesOf(const KeychainQuery& query)
{
    return Attributes(secret_attributes_build(schema(), "service", query.service.toUtf8().constData(), "account",
                                              query.account.toUtf8().constData(), nullptr));
}

using Items = std::unique_ptr<GList, Releaser<[](GList* items) { g_list_free_full(items, &g_object_unref); }>>;

SecretItem* itemOf(const GList* entry)
{
    return static_cast<SecretItem*>(entry->data);
}

/// The first one that can be read; failing that, the first.
SecretItem* bestOf(const Items& items)
{
    for (const GList* entry = items.get(); entry != nullptr; entry = entry->next) {
        if (secret_item_get_locked(itemOf(entry)) == FALSE) {
            return itemOf(entry);
        }
    }
    return items ? itemOf(items.get()) : nullptr;
}

/// A main context of this thread alone, for the library's asynchronous calls. Its blocking calls have one too, but let
/// it go before what a refused prompt leaves there is cleaned up.
class OwnContext
{
public:
    OwnContext() { g_main_context_push_thread_default(m_context.get()); }
    ~OwnContext()
    {
        while (g_main_context_iteration(m_context.get(), FALSE) != FALSE) {
        }
        g_main_context_pop_thread_default(m_context.get());
    }
    OwnContext(const OwnContext&) = delete;
    OwnContext(OwnContext&&) = delete;
    OwnContext& operator=(const OwnContext&) = delete;
    OwnContext& operator=(OwnContext&&) = delete;

    /// Given to a call together with the place for its result.
    static void keep(GObject* /*source*/, GAsyncResult* result, gpointer place)
    {
        static_cast<Object<GAsyncResult>*>(place)->reset(G_ASYNC_RESULT(g_object_ref(result)));
    }
    void await(const Object<GAsyncResult>& result) const
    {
        while (!result) {
            g_main_context_iteration(m_context.get(), TRUE);
        }
    }

private:
    std::unique_ptr<GMainContext, Releaser<&g_main_context_unref>> m_context{g_main_context_new()};
};

/// A conversation with the service that never asks the user.
class Session
{
public:
    explicit Session(GCancellable* cancellable)
        : m_cancellable(cancellable)
        , m_service(secret_service_open_sync(promptlessService(), nullptr, SECRET_SERVICE_OPEN_SESSION, cancellable,
                                             m_error.out()))
    {
    }

    [[nodiscard]] KeychainLookup add(const KeychainQuery& item, const QByteArray& data);
    [[nodiscard]] KeychainLookup copyMatching(const KeychainQuery& query);
    [[nodiscard]] KeychainLookup deleteItems(const KeychainQuery& query);

private:
    [[nodiscard]] Items search(const KeychainQuery& query)
    {
        const Attributes attributes = attributesOf(query);
        return Items(secret_service_search_sync(m_service.get(), schema(), attributes.get(), SECRET_SEARCH_ALL,
                                                m_cancellable, m_error.out()));
    }

    /// How the last call to the service went; `success` if it went well.
    [[nodiscard]] KeychainLookup status(KeychainStatus success = keychainSuccess) const
    {
        if (!m_error) {
            return {.status = success, .data = {}};
        }
        if (m_error.is(SECRET_ERROR, SECRET_ERROR_IS_LOCKED)) {
            return {.status = keychainInteractionNotAllowed, .data = {}};
        }
        // No bus, nobody with that name, or it went away in the middle.
        const bool isMissing = m_error.isOf(G_DBUS_ERROR) || m_error.isOf(G_IO_ERROR);
        return {.status = isMissing ? keychainNotAvailable : keychainInternalError, .data = {}};
    }

    GCancellable* m_cancellable;
    Error m_error;
    Object<SecretService> m_service;
};

KeychainLookup Session::add(const KeychainQuery& item, const QByteArray& data)
{
    if (!m_service) {
        return status();
    }
    const Object<SecretCollection> collection(secret_collection_for_alias_sync(
        m_service.get(), SECRET_COLLECTION_DEFAULT, SECRET_COLLECTION_NONE, m_cancellable, m_error.out()));
    if (!collection) {
        return status(keychainNoDefault);
    }
    if (secret_collection_get_locked(collection.get()) != FALSE) {
        return {.status = keychainInteractionNotAllowed, .data = {}};
    }
    const Attributes attributes = attributesOf(item);
    const Value value(secret_value_new(data.constData(), data.size(), "text/plain"));
    const QByteArray label = "Quorvel: " + item.account.toUtf8();
    const OwnContext context;
    Object<GAsyncResult> result;
    secret_item_create(collection.get(), schema(), attributes.get(), label.constData(), value.get(),
                       SECRET_ITEM_CREATE_NONE, m_cancellable, &OwnContext::keep, &result);
    context.await(result);
    const Object<SecretItem> added(secret_item_create_finish(result.get(), m_error.out()));
    return status();
}

KeychainLookup Session::copyMatching(const KeychainQuery& query)
{
    if (!m_service) {
        return status();
    }
    const Items items = search(query);
    SecretItem* const item = bestOf(items);
    if (item == nullptr) {
        return status(keychainItemNotFound);
    }
    if (secret_item_get_locked(item) != FALSE) {
        return {.status = keychainInteractionNotAllowed, .data = {}};
    }
    if (secret_item_load_secret_sync(item, m_cancellable, m_error.out()) == FALSE) {
        return status();
    }
    const Value value(secret_item_get_secret(item));
    if (!value) {
        return {.status = keychainSuccess, .data = {}};
    }
    gsize size = 0;
    const char* const bytes = secret_value_get(value.get(), &size);
    return {.status = keychainSuccess, .data = QByteArray(bytes, static_cast<qsizetype>(size))};
}

KeychainLookup Session::deleteItems(const KeychainQuery& query)
{
    if (!m_service) {
        return status();
    }
    const Items items = search(query);
    KeychainLookup outcome = status(items ? keychainSuccess : keychainItemNotFound);
    for (const GList* entry = items.get(); entry != nullptr; entry = entry->next) {
        secret_item_delete_sync(itemOf(entry), m_cancellable, m_error.out());
        outcome = status();
    }
    return outcome;
}

/// The default collection, if there is one and it is locked.
Object<SecretCollection> lockedCollection(SecretService* service, GCancellable* cancellable)
{
    Object<SecretCollection> collection(secret_collection_for_alias_sync(service, SECRET_COLLECTION_DEFAULT,
                                                                         SECRET_COLLECTION_NONE, cancellable, nullptr));
    if (collection && secret_collection_get_locked(collection.get()) == FALSE) {
        collection.reset();
    }
    return collection;
}

} // namespace

/// An attempt to unlock the default collection. A prompt stays open as long as the user likes.
struct SecretServiceKeychain::Unlocking
{
    Object<GCancellable> cancellable{g_cancellable_new()};
    /// The service has answered; from now on there is no time limit.
    std::atomic<bool> hasAnswered = false;
    Promise<State> outcome;

    static void run(const std::shared_ptr<Unlocking>& unlocking)
    {
        GCancellable* const cancellable = unlocking->cancellable.get();
        const Object<SecretService> service(
            secret_service_open_sync(SECRET_TYPE_SERVICE, nullptr, SECRET_SERVICE_NONE, cancellable, nullptr));
        const Object<SecretCollection> collection = service ? lockedCollection(service.get(), cancellable) : nullptr;
        unlocking->hasAnswered = true;
        if (!collection) {
            unlocking->outcome.finish(State{});
            return;
        }
        GList objects{.data = collection.get(), .next = nullptr, .prev = nullptr};
        const int unlocked = secret_service_unlock_sync(service.get(), &objects, cancellable, nullptr, nullptr);
        unlocking->outcome.finish(State{.wasUnlockRefused = unlocked < 1});
    }
};

SecretServiceKeychain::SecretServiceKeychain(std::chrono::milliseconds patience)
    : m_patience(patience)
{
}

SecretServiceKeychain::~SecretServiceKeychain()
{
    if (m_unlocking) {
        g_cancellable_cancel(m_unlocking->cancellable.get());
    }
}

Task<> SecretServiceKeychain::unlock()
{
    m_unlocking = std::make_shared<Unlocking>();
    return runUnlocking(m_unlocking, m_state, m_patience);
}

Task<> SecretServiceKeychain::runUnlocking(std::shared_ptr<Unlocking> unlocking, std::shared_ptr<State> state,
                                           std::chrono::milliseconds patience)
{
    if (state->isGivenUp) {
        co_return;
    }
    QTimer limit;
    limit.setSingleShot(true);
    limit.callOnTimeout([&unlocking] {
        if (!unlocking->hasAnswered) {
            unlocking->outcome.finish(State{.isGivenUp = true}); // before the cancelled call can tell of an end
            g_cancellable_cancel(unlocking->cancellable.get());
        }
    });
    limit.start(patience);
    std::thread(&Unlocking::run, unlocking).detach();

    Task<Result<State>> running = unlocking->outcome.result();
    const Result<State> outcome = co_await running;
    *state = outcome.value_or(State{});
}

KeychainLookup SecretServiceKeychain::run(std::function<KeychainLookup(GCancellable*)> call)
{
    if (m_state->isGivenUp) {
        return {.status = keychainNotAvailable, .data = {}};
    }
    // Should the service never let the call end, its thread is left to itself, with all that it uses.
    const auto cancellable = std::shared_ptr<GCancellable>(g_cancellable_new(), &g_object_unref);
    std::promise<KeychainLookup> promise;
    std::future<KeychainLookup> ending = promise.get_future();
    std::thread([cancellable, call = std::move(call), promise = std::move(promise)]() mutable {
        promise.set_value(call(cancellable.get()));
    }).detach();

    if (ending.wait_for(m_patience) != std::future_status::ready) {
        g_cancellable_cancel(cancellable.get());
        m_state->isGivenUp = true;
        return {.status = keychainNotAvailable, .data = {}};
    }
    KeychainLookup lookup = ending.get();
    if (lookup.status == keychainInteractionNotAllowed && m_state->wasUnlockRefused) {
        lookup.status = keychainUserCanceled;
    }
    return lookup;
}

KeychainStatus SecretServiceKeychain::add(const KeychainQuery& item, const QByteArray& data)
{
    return run([item, data](GCancellable* cancellable) { return Session(cancellable).add(item, data); }).status;
}

KeychainLookup SecretServiceKeychain::copyMatching(const KeychainQuery& query)
{
    return run([query](GCancellable* cancellable) { return Session(cancellable).copyMatching(query); });
}

KeychainStatus SecretServiceKeychain::deleteItems(const KeychainQuery& query)
{
    return run([query](GCancellable* cancellable) { return Session(cancellable).deleteItems(query); }).status;
}

} // namespace quorvel::platform
