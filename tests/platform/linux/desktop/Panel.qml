import QtQuick

Rectangle {
    required property color fill
    required property bool isTranslucent

    color: isTranslucent ? fill : "#00ff00"
}
