import QtQuick

Rectangle {
    required property color fill
    required property bool isTranslucent

    readonly property real cornerRadius: 14

    color: isTranslucent ? fill : "#00ff00"
}
