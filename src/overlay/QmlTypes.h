#pragma once

#include "overlay/OverlayViewState.h"

#include <QtQml/qqml.h>

/// The name under which the overlay's view knows its state.
namespace quorvel::qml {

struct OverlayViewStateType
{
    Q_GADGET
    QML_FOREIGN(quorvel::OverlayViewState)
    QML_NAMED_ELEMENT(OverlayViewState)
    QML_UNCREATABLE("It belongs to the application's state.")
};

} // namespace quorvel::qml
