#pragma once

#include "app/AppState.h"
#include "overlay/OverlaySettings.h"
#include "suggestions/SuggestionEngine.h"
#include "transcript/TranscriptStore.h"

#include <QtQml/qqml.h>

/// The names under which the screens know the types of the layers below, which themselves know nothing of screens.
namespace quorvel::qml {

struct AppStateType
{
    Q_GADGET
    QML_FOREIGN(quorvel::AppState)
    QML_NAMED_ELEMENT(AppState)
    QML_UNCREATABLE("The application makes its one state itself.")
};

struct OverlaySettingsType
{
    Q_GADGET
    QML_FOREIGN(quorvel::OverlaySettings)
    QML_VALUE_TYPE(overlaySettings)
};

struct TranscriptStoreType
{
    Q_GADGET
    QML_FOREIGN(quorvel::TranscriptStore)
    QML_NAMED_ELEMENT(TranscriptStore)
    QML_UNCREATABLE("It belongs to the application's state.")
};

struct SuggestionEngineType
{
    Q_GADGET
    QML_FOREIGN(quorvel::SuggestionEngine)
    QML_NAMED_ELEMENT(SuggestionEngine)
    QML_UNCREATABLE("It belongs to the application's state.")
};

} // namespace quorvel::qml
