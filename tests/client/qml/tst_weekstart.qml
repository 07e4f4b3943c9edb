import QtQuick
import QtTest
import ReminderDesk

// One week start throughout: the weekday choices of a weekly rule start on
// the language's first day of the week, as the date picker's calendar.
Item {
    width: 980
    height: 700

    DevicePane {
        id: devicePane
        anchors.fill: parent
        device: testDevice
        desk: testDesk
    }

    ClientTestCase {
        name: "WeekStart"
        pane: devicePane

        function test_weekdaysStartWhereTheCalendarStarts() {
            startNew("week start", "In an hour")
            click(inEditor("repeatButton"))
            tryVerify(() => findChild(editor.contentItem, "repeatPage") !== null)
            click(inEditor("preset_6"))
            // Every preset shows whole, the long monthly one included.
            for (let cmd = 0; cmd <= 6; ++cmd) {
                const text = findChild(inEditor("preset_" + cmd), "presetText")
                verify(text.text.length > 0)
                verify(!text.truncated, "preset " + cmd + " is cut off: " + text.text)
                verify(text.contentWidth <= text.width, "preset " + cmd + " runs over: " + text.text)
            }
            const unitBox = inEditor("unitBox")
            unitBox.currentIndex = 1
            unitBox.activated(1)

            const first = testDevice.firstDayOfWeek()
            // The calendar's locale, in QML's numbering (Sunday 0).
            compare(Qt.locale(testDesk.language).firstDayOfWeek, first % 7)
            const firstButton = inEditor("weekday_" + first)
            for (let day = 1; day <= 7; ++day) {
                if (day !== first)
                    verify(inEditor("weekday_" + day).x > firstButton.x, "day " + day)
            }
            // The last button is the day before the first.
            const last = (first + 5) % 7 + 1
            for (let day = 1; day <= 7; ++day) {
                if (day !== last)
                    verify(inEditor("weekday_" + day).x < inEditor("weekday_" + last).x, "day " + day)
            }
            click(inEditor("repeatBack"))
            tryVerify(() => findChild(editor.contentItem, "repeatPage") === null)
            click(inEditor("cancelButton"))
            waitEditorClosed()
        }
    }
}
