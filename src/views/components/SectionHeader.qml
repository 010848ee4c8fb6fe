import QtQuick
import QtQuick.Layouts
import Quorvel.Views

// The heading of a card: a symbol and a title.
RowLayout {
    id: header

    required property string symbol
    required property string title
    property font font: Theme.headline

    spacing: 8
    Accessible.role: Accessible.Heading
    Accessible.name: title

    SymbolIcon {
        symbol: header.symbol
        color: Theme.accent
        size: Math.round(header.font.pointSize * 1.7)
    }
    Text {
        Layout.fillWidth: true
        text: header.title
        font: header.font
        color: Theme.primaryText
        elide: Text.ElideRight
        textFormat: Text.PlainText
        Accessible.ignored: true
    }
}
