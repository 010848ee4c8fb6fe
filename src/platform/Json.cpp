#include "platform/Json.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonValue>

using namespace Qt::StringLiterals;

namespace quorvel {

namespace {

Failure jsonFailure(JsonError error, const QString& description)
{
    return {.code = errorCode(error), .description = description};
}

} // namespace

const char* errorCategoryName(JsonError)
{
    return "json";
}

const char* errorName(JsonError error)
{
    switch (error) {
    case JsonError::malformed:
        return "malformed";
    case JsonError::missingKey:
        return "missing key";
    case JsonError::wrongType:
        return "wrong type";
    case JsonError::unknownValue:
        return "unknown value";
    }
    return "unknown";
}

Result<QJsonObject> parseJsonObject(const QByteArray& json)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError) {
        return std::unexpected(
            jsonFailure(JsonError::malformed, u"The data could not be read because it is not valid JSON."_s));
    }
    if (!document.isObject()) {
        return std::unexpected(
            jsonFailure(JsonError::malformed, u"The data could not be read because it is not a JSON object."_s));
    }
    return document.object();
}

std::optional<std::int64_t> exactInteger(const QJsonValue& value)
{
    // toInteger() answers its argument for everything that is not an integer, so two arguments tell the two apart.
    const qint64 integer = value.toInteger(0);
    if (!value.isDouble() || integer != value.toInteger(1)) {
        return std::nullopt;
    }
    return integer;
}

bool JsonReader::boolean(const QString& key)
{
    return required(key, QJsonValue::Bool).toBool();
}

std::int64_t JsonReader::integer(const QString& key)
{
    const QJsonValue value = required(key, QJsonValue::Double);
    const std::optional<std::int64_t> integer = exactInteger(value);
    if (!integer) {
        fail(JsonError::wrongType, key);
    }
    return integer.value_or(0);
}

double JsonReader::number(const QString& key)
{
    return required(key, QJsonValue::Double).toDouble();
}

QString JsonReader::string(const QString& key)
{
    return required(key, QJsonValue::String).toString();
}

QStringList JsonReader::strings(const QString& key)
{
    QStringList strings;
    const QJsonArray values = required(key, QJsonValue::Array).toArray();
    for (const auto value : values) {
        if (!value.isString()) {
            fail(JsonError::wrongType, key);
            return {};
        }
        strings.append(value.toString());
    }
    return strings;
}

std::optional<QString> JsonReader::optionalString(const QString& key)
{
    if (isAbsent(key)) {
        return std::nullopt;
    }
    return string(key);
}

bool JsonReader::isAbsent(const QString& key) const
{
    const QJsonValue value = m_object.value(key);
    return value.isUndefined() || value.isNull();
}

QJsonValue JsonReader::required(const QString& key, QJsonValue::Type type)
{
    const QJsonValue value = m_object.value(key);
    if (isAbsent(key)) {
        fail(JsonError::missingKey, key);
    } else if (value.type() != type) {
        fail(JsonError::wrongType, key);
    }
    return value;
}

void JsonReader::fail(JsonError error, const QString& key)
{
    if (m_fault) {
        return;
    }
    switch (error) {
    case JsonError::malformed:
    case JsonError::wrongType:
        m_fault = jsonFailure(error, u"The data could not be read because “%1” is not of the right type."_s.arg(key));
        break;
    case JsonError::missingKey:
        m_fault = jsonFailure(error, u"The data could not be read because “%1” is missing."_s.arg(key));
        break;
    case JsonError::unknownValue:
        m_fault = jsonFailure(error, u"The data could not be read because “%1” has an unknown value."_s.arg(key));
        break;
    }
}

} // namespace quorvel
