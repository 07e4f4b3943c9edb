import QtQuick
import QtTest
import ReminderDesk

// Creating a reminder through the editor: it is listed, stored and sent.
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
        name: "CreateThroughEditor"
        pane: devicePane

        function test_createThroughEditor() {
            compare(list.count, 0)
            compare(named("countsLabel").text, "0 open  ·  0 completed")

            startNew("buy flowers for anna", "Tomorrow morning")
            compare(inEditor("editorTitle").text, "New reminder")
            const tomorrowNine = support.at(2031, 6, 3, 9, 0)
            compare(handler.reminderPattern.remindTime, tomorrowNine)
            click(inEditor("saveButton"))
            waitEditorClosed()

            tryCompare(model, "count", 1)
            const row = rowAt(0)
            compare(rowText(row), "buy flowers for anna")
            compare(findChild(row, "rowWhen").text, "Tomorrow 09:00")
            compare(row.item.showRemindTime, tomorrowNine)
            compare(named("countsLabel").text, "1 open  ·  0 completed")
            // Stored on the device and accepted by the server.
            tryVerify(() => support.storedCount() === 1, 10000)
            tryVerify(() => support.storedRemindTime(row.remindId) === tomorrowNine, 10000)
            tryVerify(() => support.serverCount() === 1, 10000)
        }

        function test_cancelledNewReminderLeavesNothing() {
            const before = model.count
            click(named("newButton"))
            waitEditorOpen()
            // Nothing typed: cancelling drops the empty reminder again.
            click(inEditor("cancelButton"))
            waitEditorClosed()
            tryCompare(model, "count", before)
        }
    }
}
