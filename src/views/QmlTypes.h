#pragma once

#include "app/AppState.h"
#include "app/Appearance.h"
#include "context/MeetingContext.h"
#include "overlay/OverlaySettings.h"
#include "suggestions/SuggestionEngine.h"
#include "transcript/TranscriptStore.h"
#include "views/DashboardViewModel.h"
#include "views/InterviewSetupViewModel.h"
#include "views/MainViewModel.h"
#include "views/SharePickerViewModel.h"

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

struct AppearanceType
{
    Q_GADGET
    QML_FOREIGN(quorvel::Appearance)
    QML_NAMED_ELEMENT(Appearance)
    QML_UNCREATABLE("The application makes the one that knows the desktop.")
};

struct MeetingContextType
{
    Q_GADGET
    QML_FOREIGN(quorvel::MeetingContext)
    QML_VALUE_TYPE(meetingContext)
};

struct HealthItemType
{
    Q_GADGET
    QML_FOREIGN(quorvel::HealthItem)
    QML_VALUE_TYPE(healthItem)
};

struct ViewModelType
{
    Q_GADGET
    QML_FOREIGN(quorvel::ViewModel)
    QML_NAMED_ELEMENT(ViewModel)
    QML_UNCREATABLE("What the view models have in common.")
};

struct MainViewModelType
{
    Q_GADGET
    QML_FOREIGN(quorvel::MainViewModel)
    QML_NAMED_ELEMENT(MainViewModel)
    QML_UNCREATABLE("It is made with the state that it derives from.")
};

struct DashboardViewModelType
{
    Q_GADGET
    QML_FOREIGN(quorvel::DashboardViewModel)
    QML_NAMED_ELEMENT(DashboardViewModel)
    QML_UNCREATABLE("It is made with the state that it derives from.")
};

struct InterviewSetupViewModelType
{
    Q_GADGET
    QML_FOREIGN(quorvel::InterviewSetupViewModel)
    QML_NAMED_ELEMENT(InterviewSetupViewModel)
    QML_UNCREATABLE("It is made with the state that it derives from.")
};

struct SharePickerViewModelType
{
    Q_GADGET
    QML_FOREIGN(quorvel::SharePickerViewModel)
    QML_NAMED_ELEMENT(SharePickerViewModel)
    QML_UNCREATABLE("It is made with the state that it derives from.")
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
