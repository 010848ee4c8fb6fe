pragma Singleton

import QtQuick

// Colours, spacing, radii and type of every screen. Sizes are in points on a grid of 4; type follows the system's font.
QtObject {
    id: theme

    // What the user asked of the desktop; the main window keeps them up to date.
    property bool isDark: false
    property bool reducesMotion: false
    property color accent: "#4F46E5"
    property color accentText: "#FFFFFF"

    readonly property color gradientStart: isDark ? "#16181D" : "#F7F8FB"
    readonly property color gradientEnd: isDark ? "#1E222B" : "#E9EDF6"
    readonly property color card: isDark ? "#23272F" : "#FFFFFF"
    readonly property color inset: isDark ? "#1A1D23" : "#F5F6FA"
    readonly property color bar: isDark ? "#1C1F26" : "#FCFCFE"
    readonly property color hairline: isDark ? Qt.rgba(1, 1, 1, 0.08) : Qt.rgba(0, 0, 0, 0.08)
    readonly property color control: isDark ? "#2D323C" : "#FFFFFF"
    readonly property color controlHovered: isDark ? "#363C48" : "#F2F3F8"
    readonly property color controlPressed: isDark ? "#3F4654" : "#E6E8F1"
    readonly property color controlOutline: isDark ? Qt.rgba(1, 1, 1, 0.16) : Qt.rgba(0, 0, 0, 0.16)

    readonly property color primaryText: isDark ? "#F2F3F7" : "#16181D"
    readonly property color secondaryText: isDark ? "#A9AFBD" : "#596072"
    readonly property color good: isDark ? "#3FCF7F" : "#1A8048"
    readonly property color waiting: isDark ? "#F5A524" : "#B45309"
    readonly property color waitingText: isDark ? "#12131A" : "#FFFFFF"
    readonly property color danger: isDark ? "#FF8A80" : "#B42323"
    readonly property color errorSurface: isDark ? "#9F2F2F" : "#B42323"
    readonly property color veil: Qt.rgba(0, 0, 0, isDark ? 0.55 : 0.35)
    readonly property color errorText: "#FFFFFF"

    readonly property int radius: 8
    readonly property int spacing: 12
    readonly property int padding: 14
    readonly property int focusWidth: 2

    // Milliseconds.
    readonly property int quickMotion: reducesMotion ? 0 : 120
    readonly property int slowMotion: reducesMotion ? 0 : 180

    readonly property real baseSize: Application.font.pointSize > 0 ? Application.font.pointSize : 10
    readonly property font largeTitle: type(1.9, Font.Bold)
    readonly property font secondTitle: type(1.4, Font.DemiBold)
    readonly property font boldSecondTitle: type(1.4, Font.Bold)
    readonly property font thirdTitle: type(1.2, Font.Normal)
    readonly property font strongThirdTitle: type(1.2, Font.DemiBold)
    readonly property font headline: type(1.0, Font.DemiBold)
    readonly property font body: type(1.0, Font.Normal)
    readonly property font callout: type(0.95, Font.Normal)
    readonly property font strongCallout: type(0.95, Font.Medium)
    readonly property font subheadline: type(0.9, Font.Normal)
    readonly property font caption: type(0.85, Font.Normal)
    readonly property font strongCaption: type(0.85, Font.DemiBold)
    readonly property font boldCaption: type(0.85, Font.Bold)

    function type(scale: real, weight: int): font {
        return Qt.font({
            "family": Application.font.family,
            "pointSize": theme.baseSize * scale,
            "weight": weight
        });
    }
}
