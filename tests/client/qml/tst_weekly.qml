import QtQuick
import QtTest
import ReminderDesk

// A weekly rule on two days, built on the repeat page, and its words.
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
        name: "WeeklyRule"
        pane: devicePane

        function test_weeklyOnTwoDays() {
            // Monday 2 June 2031, 10:00: "In an hour" is Monday 11:00.
            startNew("team stand-up", "In an hour")
            const pattern = handler.reminderPattern
            compare(pattern.remindTime, support.at(2031, 6, 2, 11, 0))

            click(inEditor("repeatButton"))
            tryVerify(() => findChild(editor.contentItem, "repeatPage") !== null)
            // The presets are titled from the remind date.
            compare(inEditor("preset_2").text, "Every week on Monday")
            click(inEditor("preset_6"))
            compare(pattern.repeatFlag, 6)
            compare(pattern.interval, 1)

            const unitBox = inEditor("unitBox")
            unitBox.currentIndex = 1
            unitBox.activated(1)
            compare(pattern.unit, 1)
            // Monday is on already (the remind date's day); add Wednesday.
            const monday = inEditor("weekday_1")
            const wednesday = inEditor("weekday_3")
            verify(monday.on)
            verify(!wednesday.on)
            click(wednesday)
            verify(wednesday.on)

            click(inEditor("repeatDone"))
            tryVerify(() => findChild(editor.contentItem, "repeatPage") === null)
            // The rule's words, and the tip that names the days.
            compare(pattern.repeatText, "Every week")
            compare(inEditor("editorRepeatText").text, "Every week · Mon, Wed")
            tryCompare(named("toast"), "text", "Repeats every week on Monday, Wednesday.")

            click(inEditor("saveButton"))
            waitEditorClosed()
            tryCompare(model, "count", 1)
            const row = rowAt(0)
            compare(row.item.interval, 1)
            compare(row.item.unit, 1)
            compare(row.item.dayOfWeekFlags, 1 | 4)
            compare(findChild(row, "rowRepeat").text, "Every week · Mon, Wed")
            compare(findChild(row, "rowWhen").text, "Today 11:00")

            // Opened again, the rule is the custom one with both days.
            mouseClick(findChild(row, "rowText"))
            waitEditorOpen()
            compare(pattern.repeatFlag, 6)
            compare(pattern.dayOfWeekFlags, 1 | 4)
            compare(inEditor("editorTitle").text, "Edit reminder")
            click(inEditor("cancelButton"))
            waitEditorClosed()
        }
    }
}
