#include "overlay/OverlaySettings.h"

#include "platform/Json.h"

#include <QJsonDocument>

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <optional>
#include <utility>

using namespace Qt::StringLiterals;

namespace quorvel {

namespace {

constexpr auto settingsKey = "overlay.settings"_L1;

} // namespace

OverlaySettings OverlaySettings::load(const platform::UserDefaults& store)
{
    const std::optional<QByteArray> data = store.dataForKey(settingsKey);
    const Result<QJsonObject> object = parseJsonObject(data.value_or(QByteArray()));
    return object ? fromJson(*object).value_or(OverlaySettings{}) : OverlaySettings{};
}

void OverlaySettings::save(platform::UserDefaults& store) const
{
    // JSON has no infinities; a document with a null would be unreadable, so the old one stays.
    const std::initializer_list<double> numbers{widthRatio, height, opacity, topOffset};
    if (!std::ranges::all_of(numbers, [](double number) { return std::isfinite(number); })) {
        return;
    }
    store.setData(QJsonDocument(toJson()).toJson(QJsonDocument::Compact), settingsKey);
}

QJsonObject OverlaySettings::toJson() const
{
    return {
        {u"widthRatio"_s, widthRatio},     {u"height"_s, height},
        {u"opacity"_s, opacity},           {u"topOffset"_s, topOffset},
        {u"clickThrough"_s, clickThrough}, {u"isVisible"_s, isVisible},
    };
}

Result<OverlaySettings> OverlaySettings::fromJson(const QJsonObject& object)
{
    JsonReader reader(object);
    OverlaySettings settings;
    settings.widthRatio = reader.number(u"widthRatio"_s);
    settings.height = reader.number(u"height"_s);
    settings.opacity = reader.number(u"opacity"_s);
    settings.topOffset = reader.number(u"topOffset"_s);
    settings.clickThrough = reader.boolean(u"clickThrough"_s);
    settings.isVisible = reader.boolean(u"isVisible"_s);
    return reader.finish(settings);
}

} // namespace quorvel
