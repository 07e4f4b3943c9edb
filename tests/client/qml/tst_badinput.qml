import QtQuick
import QtTest
import ReminderDesk

// Input a person may give that the interface must take calmly: blank
// texts store nothing; very long, emoji and right-to-left texts are kept
// exactly; a date in the past makes an overdue reminder.
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
        name: "BadInput"
        pane: devicePane

        function test_a_blankQuickAddStoresNothing_data() {
            return [{ tag: "empty", text: "" }, { tag: "spaces", text: "    " }, { tag: "tabs and newlines", text: "\t \n " }]
        }

        function test_a_blankQuickAddStoresNothing(data) {
            const field = named("quickAddField")
            field.text = data.text
            field.forceActiveFocus()
            verify(!named("addButton").enabled)
            keyClick(Qt.Key_Return)
            wait(50)
            compare(model.count, 0)
            field.clear()
        }

        function test_b_textsKeptExactly_data() {
            return [
                { tag: "100,000 characters", text: "long ".repeat(20000) + "end" },
                { tag: "emoji", text: "🎂 Anna's birthday 👩‍👩‍👧 🇯🇵" },
                { tag: "Arabic", text: "موعد مع الطبيب غدا" },
                { tag: "Hebrew with digits", text: "להתקשר לאמא ב-18:30" },
            ]
        }

        function test_b_textsKeptExactly(data) {
            const before = model.count
            // Pasted into the full editor (key by key would take minutes
            // for the longest).
            click(named("newButton"))
            waitEditorOpen()
            const area = inEditor("editorText")
            area.forceActiveFocus()
            area.insert(0, data.text)
            compare(handler.content, data.text)
            click(inEditor("saveButton"))
            waitEditorClosed()
            tryCompare(model, "count", before + 1)
            tryVerify(() => support.storedTexts().indexOf(data.text) >= 0, 20000)
            const row = rowAt(indexOfBody(data.text))
            verify(row !== null)
            // The row shows at most two lines of it.
            verify(findChild(row, "rowText").height < 120)
            // Found by a word of it.
            const word = data.text.trim().split(" ").pop()
            devicePane.setSearchText(word)
            tryVerify(() => handler.searchModel.count >= 1)
            devicePane.setSearchText("")
        }

        // The list row whose reminder has exactly that text.
        function indexOfBody(text) {
            for (let i = 0; i < list.count; ++i) {
                const row = rowAt(i)
                if (row && row.item && testDevice.bodyText(row.item) === text)
                    return i
            }
            return -1
        }

        function test_c_aDateInThePast() {
            const before = model.count
            startNew("file the expense report", "In an hour")
            const field = inEditor("dateField")
            click(field)
            const calendar = findChild(field, "calendarPopup")
            tryCompare(calendar, "opened", true)
            // Back a month, the 10th.
            click(findChild(calendar.contentItem, "calendarPrevious"))
            const day = findChild(calendar.contentItem, "calendarDay_5_10")
            click(day)
            tryCompare(calendar, "visible", false)
            const past = support.at(2031, 5, 10, 11, 0)
            compare(handler.reminderPattern.remindTime, past)
            click(inEditor("saveButton"))
            waitEditorClosed()
            tryCompare(model, "count", before + 1)
            const row = rowAt(indexOfBody("file the expense report"))
            tryVerify(() => row.overdue)
            verify(findChild(row, "rowWhen").text.indexOf("Overdue") >= 0, findChild(row, "rowWhen").text)
            tryVerify(() => handler.uncompleteOverdueCount >= 1)
        }
    }
}
