#pragma once

#include "platform/RawValue.h"
#include "platform/Result.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>
#include <utility>

namespace quorvel {

enum class JsonError : std::uint8_t {
    malformed = 1, ///< not JSON, nested too deeply, or no object at the top
    missingKey,    ///< a required key is absent or null
    wrongType,     ///< a key holds another type than it must
    unknownValue,  ///< a text that is none of an enumeration's
};

[[nodiscard]] const char* errorCategoryName(JsonError);
[[nodiscard]] const char* errorName(JsonError error);

/// The object at the top of a document. Of a key that is written twice the last counts.
[[nodiscard]] Result<QJsonObject> parseJsonObject(const QByteArray& json);

/// The value as an integer, if it is a number without a fraction that 64 bits hold.
[[nodiscard]] std::optional<std::int64_t> exactInteger(const QJsonValue& value);

/// Reads the keys of one object into a record. The first fault is kept: after it every read yields an empty value, and
/// finish() yields the fault instead of the record. Unknown keys are ignored.
class JsonReader
{
public:
    explicit JsonReader(QJsonObject object)
        : m_object(std::move(object))
    {
    }

    [[nodiscard]] bool boolean(const QString& key);
    [[nodiscard]] std::int64_t integer(const QString& key);
    [[nodiscard]] double number(const QString& key);
    [[nodiscard]] QString string(const QString& key);
    [[nodiscard]] QStringList strings(const QString& key);
    /// Absent or null is nothing; another type than a string is a fault.
    [[nodiscard]] std::optional<QString> optionalString(const QString& key);

    /// A text that must be one of the enumeration's.
    template <RawValued Enum>
    [[nodiscard]] Enum oneOf(const QString& key)
    {
        const QString text = string(key);
        if (const std::optional<Enum> value = fromRawValue<Enum>(text)) {
            return *value;
        }
        fail(JsonError::unknownValue, key);
        return Enum{};
    }

    /// A nested object, decoded by Record::fromJson(QJsonObject).
    template <typename Record>
    [[nodiscard]] Record record(const QString& key)
    {
        Result<Record> record = Record::fromJson(required(key, QJsonValue::Object).toObject());
        if (record) {
            return *std::move(record);
        }
        if (!m_fault) {
            m_fault = std::move(record).error();
        }
        return Record{};
    }

    /// The same, but absent or null is nothing.
    template <typename Record>
    [[nodiscard]] std::optional<Record> optionalRecord(const QString& key)
    {
        if (isAbsent(key)) {
            return std::nullopt;
        }
        return record<Record>(key);
    }

    template <typename Record>
    [[nodiscard]] Result<Record> finish(Record record) const
    {
        if (m_fault) {
            return std::unexpected(*m_fault);
        }
        return record;
    }

private:
    [[nodiscard]] bool isAbsent(const QString& key) const;
    [[nodiscard]] QJsonValue required(const QString& key, QJsonValue::Type type);
    void fail(JsonError error, const QString& key);

    QJsonObject m_object;
    std::optional<Failure> m_fault;
};

} // namespace quorvel
