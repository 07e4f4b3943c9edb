pragma Singleton
import QtQuick

// Colours, sizes and fonts shared by every screen.
QtObject {
    readonly property color accent: "#3b6fd8"
    readonly property color accentSoft: "#e8effc"
    readonly property color background: "#f3f5f9"
    readonly property color surface: "#ffffff"
    readonly property color surfaceAlt: "#f7f8fb"
    readonly property color text: "#1d2330"
    readonly property color subtle: "#687184"
    readonly property color faint: "#9aa2b1"
    readonly property color border: "#e1e5ec"
    readonly property color danger: "#d04848"
    readonly property color dangerSoft: "#fbeaea"
    readonly property color success: "#2f9e6b"
    readonly property color successSoft: "#e6f5ee"
    readonly property color warning: "#c98118"
    readonly property color quote: "#f1f4f9"
    readonly property color shadow: "#14000000"

    readonly property int radius: 10
    readonly property int spacing: 12
    readonly property int fontBase: 14
    readonly property int fontSmall: 12
    readonly property int fontLarge: 16
    readonly property int fontTitle: 19
}
