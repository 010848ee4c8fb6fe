import QtQuick
import Quorvel.Views

// A hairline between what does not belong together.
Rectangle {
    implicitHeight: 1
    color: Theme.hairline
}
