import QtQuick
import QtQuick.Layouts
import Quorvel.Overlay

// The overlay's content: a dark card, which keeps its text readable over anything that shows through it.
Item {
    id: view

    required property OverlayViewState viewState
    // False while the desktop does not blend windows: then nothing shines through, and there are no round corners.
    required property bool isTranslucent

    readonly property real cornerRadius: isTranslucent ? 14 : 0
    readonly property color primaryColor: "#FFFFFF"
    readonly property color secondaryColor: "#D3D7E0"
    readonly property color goodColor: "#4ADE80"

    Rectangle {
        anchors.fill: parent
        radius: view.cornerRadius
        color: view.isTranslucent ? "#EB16181D" : "#16181D"
        border.width: 1
        border.color: Qt.rgba(1, 1, 1, 0.18)
    }

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: 24
        anchors.rightMargin: 24
        anchors.topMargin: 16
        anchors.bottomMargin: 16
        spacing: 14

        Image {
            readonly property color tint: view.viewState.shouldRespond ? view.goodColor : view.secondaryColor

            source: "image://symbols/" + view.viewState.overlayIcon + "/" + tint.toString().slice(1)
            sourceSize.width: 24
            sourceSize.height: 24
            Accessible.ignored: true
        }

        Text {
            Layout.fillWidth: true
            Layout.fillHeight: true
            text: view.viewState.overlayText
            textFormat: Text.PlainText
            color: view.primaryColor
            font.pixelSize: view.viewState.fittingPixelSize(text, Qt.font({
                pixelSize: 21,
                weight: Font.DemiBold
            }), Qt.size(width, height))
            font.weight: Font.DemiBold
            // Keeps letters apart from those of a document that shines through.
            style: view.isTranslucent ? Text.Outline : Text.Normal
            styleColor: "#16181D"
            wrapMode: Text.Wrap
            maximumLineCount: 4
            elide: Text.ElideRight
            verticalAlignment: Text.AlignVCenter
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }

        Image {
            id: spinner

            visible: view.viewState.isWorking
            source: "image://symbols/progress.indicator/" + view.secondaryColor.toString().slice(1)
            sourceSize.width: 16
            sourceSize.height: 16
            Accessible.role: Accessible.ProgressBar
            Accessible.name: qsTr("Working on a suggestion")

            RotationAnimation on rotation {
                running: spinner.visible && view.Window.visibility !== Window.Hidden
                from: 0
                to: 360
                duration: 900
                loops: Animation.Infinite
            }
        }
    }
}
