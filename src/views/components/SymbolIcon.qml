import QtQuick
import Quorvel.Views

// One of our own symbols, tinted, and sharp at every scale factor. It stands beside a text that says the same, so that it
// is silent for assistive technology.
Image {
    id: icon

    required property string symbol
    property color color: Theme.primaryText
    property int size: 16

    source: "image://symbols/" + symbol + "/" + color.toString().slice(1)
    sourceSize.width: size
    sourceSize.height: size
    width: size
    height: size
    Accessible.ignored: true
}
