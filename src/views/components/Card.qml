import QtQuick
import Quorvel.Views

// The surface that groups what belongs together.
Rectangle {
    color: Theme.card
    radius: Theme.radius
    border.width: 1
    border.color: Theme.hairline
}
