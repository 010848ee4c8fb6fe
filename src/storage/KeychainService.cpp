#include "storage/KeychainService.h"

#include <QStringDecoder>

#include <utility>

using namespace Qt::StringLiterals;

namespace quorvel {

namespace {

Failure unhandledStatus(platform::KeychainStatus status)
{
    return {.code = errorCode(KeychainError::unhandledStatus),
            .description = u"Keychain error: "_s + QString::number(status)};
}

Failure invalidData()
{
    return {.code = errorCode(KeychainError::invalidData), .description = u"The keychain item could not be decoded."_s};
}

} // namespace

const char* errorCategoryName(KeychainError)
{
    return "keychain";
}

const char* errorName(KeychainError error)
{
    switch (error) {
    case KeychainError::unhandledStatus:
        return "unhandled status";
    case KeychainError::invalidData:
        return "invalid data";
    }
    return "unknown";
}

KeychainService::KeychainService(std::shared_ptr<platform::Keychain> keychain)
    : m_keychain(std::move(keychain))
    , m_service(u"com.quorvel.openai"_s)
{
}

Task<> KeychainService::unlock()
{
    return m_keychain->unlock();
}

Result<> KeychainService::save(const QString& value, const QString& account)
{
    const platform::KeychainQuery item = baseQuery(account);
    m_keychain->deleteItems(item);
    if (const platform::KeychainStatus status = m_keychain->add(item, value.toUtf8());
        status != platform::keychainSuccess) {
        return std::unexpected(unhandledStatus(status));
    }
    return {};
}

Result<std::optional<QString>> KeychainService::load(const QString& account)
{
    const platform::KeychainLookup lookup = m_keychain->copyMatching(baseQuery(account));
    if (lookup.status == platform::keychainItemNotFound) {
        return std::nullopt;
    }
    if (lookup.status != platform::keychainSuccess) {
        return std::unexpected(unhandledStatus(lookup.status));
    }
    if (!lookup.data) {
        return std::unexpected(invalidData());
    }
    QStringDecoder decode(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decode(*lookup.data);
    if (decode.hasError()) {
        return std::unexpected(invalidData());
    }
    return text;
}

void KeychainService::remove(const QString& account)
{
    m_keychain->deleteItems(baseQuery(account));
}

platform::KeychainQuery KeychainService::baseQuery(const QString& account) const
{
    return {.service = m_service, .account = account};
}

} // namespace quorvel
