import QtQuick
import QtTest
import ReminderDesk

// Every text colour of the theme reads on every background of the theme at
// 4.5:1 or more (the ratio accessibility guidelines ask of body text), white
// reads so on the filled button, and the large text and icons at 3:1.
TestCase {
    name: "Contrast"

    readonly property var textColours: ["text", "subtle", "faint", "accent", "danger", "success", "warning"]
    readonly property var backgrounds: ["surface", "background", "surfaceAlt", "accentSoft", "dangerSoft",
                                        "successSoft", "quote", "warningSoft"]

    // Relative luminance of an sRGB colour.
    function luminance(c) {
        const channel = (v) => v <= 0.03928 ? v / 12.92 : Math.pow((v + 0.055) / 1.055, 2.4)
        return 0.2126 * channel(c.r) + 0.7152 * channel(c.g) + 0.0722 * channel(c.b)
    }

    function ratio(a, b) {
        const la = luminance(a)
        const lb = luminance(b)
        return (Math.max(la, lb) + 0.05) / (Math.min(la, lb) + 0.05)
    }

    function test_theRatioItself() {
        // The formula's own ends and a known pair.
        fuzzyCompare(ratio(Qt.color("black"), Qt.color("white")), 21, 0.01)
        fuzzyCompare(ratio(Qt.color("white"), Qt.color("white")), 1, 0.0001)
        fuzzyCompare(ratio(Qt.color("#777777"), Qt.color("white")), 4.48, 0.01)
    }

    function test_textOnEveryBackground_data() {
        const rows = []
        for (const fg of textColours) {
            for (const bg of backgrounds)
                rows.push({ tag: fg + " on " + bg, fg: fg, bg: bg })
        }
        return rows
    }

    function test_textOnEveryBackground(data) {
        const r = ratio(Theme[data.fg], Theme[data.bg])
        verify(r >= 4.5, data.tag + ": " + r.toFixed(2) + ":1")
    }

    function test_whiteOnTheFilledButton_data() {
        return [{ tag: "accent" }, { tag: "accentHover" }, { tag: "accentDown" }, { tag: "danger" }]
    }

    function test_whiteOnTheFilledButton(data) {
        const r = ratio(Qt.color("white"), Theme[data.tag])
        verify(r >= 4.5, "white on " + data.tag + ": " + r.toFixed(2) + ":1")
    }

    function test_iconsAndLargeTextOnEveryBackground_data() {
        return test_textOnEveryBackground_data()
    }

    function test_iconsAndLargeTextOnEveryBackground(data) {
        const r = ratio(Theme[data.fg], Theme[data.bg])
        verify(r >= 3, data.tag + ": " + r.toFixed(2) + ":1")
    }

    // A toast's text and its Undo on the toast's dark pill.
    function test_toastTexts_data() {
        return [{ tag: "white", fg: Qt.color("white") }, { tag: "toastAction", fg: Theme.toastAction }]
    }

    function test_toastTexts(data) {
        const r = ratio(data.fg, Theme.toast)
        verify(r >= 4.5, data.tag + " on toast: " + r.toFixed(2) + ":1")
    }
}
