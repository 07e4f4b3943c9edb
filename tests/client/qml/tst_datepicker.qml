import QtQuick
import QtTest
import ReminderDesk

// The date picker's calendar opens whole inside the window, at the
// default size and at the smallest.
Item {
    id: root
    width: 980
    height: 700

    DevicePane {
        id: devicePane
        anchors.fill: parent
        device: testDevice
        desk: testDesk
    }

    ClientTestCase {
        name: "DatePicker"
        pane: devicePane

        function test_calendarFitsTheWindow_data() {
            return [
                { tag: "new, default 980x700", w: 980, h: 700, quote: false },
                { tag: "new, smallest 760x560", w: 760, h: 560, quote: false },
                { tag: "quoting a message, default 980x700", w: 980, h: 700, quote: true },
                { tag: "quoting a message, smallest 760x560", w: 760, h: 560, quote: true },
            ]
        }

        function test_calendarFitsTheWindow(data) {
            root.width = data.w
            root.height = data.h
            if (data.quote) {
                // The quote sits above the text: the date field is lower.
                devicePane.remindAbout(1)
                waitEditorOpen()
                click(inEditor("timeSwitch"))
            } else {
                startNew("dentist", "In an hour")
            }
            const field = inEditor("dateField")
            click(field)
            const calendar = findChild(field, "calendarPopup")
            tryCompare(calendar, "opened", true)
            const box = calendar.contentItem.mapToItem(root, 0, 0, calendar.contentItem.width,
                                                         calendar.contentItem.height)
            verify(box.y >= 0, "top " + box.y)
            verify(box.y + box.height <= data.h, "bottom " + (box.y + box.height) + " of " + data.h)
            verify(box.x >= 0 && box.x + box.width <= data.w, "sides " + box.x + ".." + (box.x + box.width))
            calendar.close()
            tryCompare(calendar, "visible", false)
            // Cancel says what it does: the edit goes without a question.
            click(inEditor("cancelButton"))
            waitEditorClosed()
            verify(!editor.unsavedDialog.visible)
        }
    }
}
