pragma Singleton
import QtQuick

// Colours, sizes and fonts shared by every screen.
// Every text colour reads at 4.5:1 or more on every background here, and
// white reads so on the filled accent button in each of its states
// (tests/client/qml/tst_contrast.qml computes the ratios).
QtObject {
    readonly property color accent: "#2f5cb8"
    readonly property color accentHover: "#2a53a8"
    readonly property color accentDown: "#244a97"
    // Deliberate: a disabled button's label is not held to the text ratio
    // (an inactive control); it must still be told apart from its field.
    readonly property color accentDisabled: "#9fb1da"
    readonly property color accentSoft: "#e8effc"
    readonly property color background: "#f3f5f9"
    readonly property color surface: "#ffffff"
    readonly property color surfaceAlt: "#f7f8fb"
    readonly property color text: "#1d2330"
    readonly property color subtle: "#545c6e"
    readonly property color faint: "#626b7e"
    readonly property color border: "#e1e5ec"
    readonly property color danger: "#a83434"
    readonly property color dangerSoft: "#fbeaea"
    readonly property color success: "#236f4c"
    readonly property color successSoft: "#e6f5ee"
    readonly property color warning: "#8a5a00"
    readonly property color warningSoft: "#fdf4e3"
    // Toasts: light text on a dark pill; their action (Undo) in a light blue.
    readonly property color toast: "#2b3140"
    readonly property color toastAction: "#a9c7ff"
    readonly property color quote: "#f1f4f9"
    readonly property color shadow: "#14000000"

    readonly property int radius: 10
    readonly property int spacing: 12
    readonly property int fontBase: 14
    readonly property int fontSmall: 12
    readonly property int fontLarge: 16
    readonly property int fontTitle: 19
}
