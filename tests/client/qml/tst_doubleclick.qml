import QtQuick
import QtTest
import ReminderDesk

// A rapid double click on a button does what one click does: no second
// row, no second editor, no action done twice or undone by the second
// click.
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
        name: "DoubleClick"
        pane: devicePane

        function doubleClick(item) {
            verify(item.visible && item.enabled, (item.objectName || "item") + " cannot be clicked")
            settleLayout(item)
            mouseDoubleClickSequence(item)
        }

        function test_a_add() {
            const field = named("quickAddField")
            field.forceActiveFocus()
            typeText("one row only")
            doubleClick(named("addButton"))
            tryCompare(model, "count", 1)
            wait(50)
            compare(model.count, 1)
            tryVerify(() => support.storedCount() === 1, 10000)
        }

        function test_b_newWithDetailsAndSave() {
            doubleClick(named("newButton"))
            waitEditorOpen()
            // One editor, nothing stored yet.
            compare(model.count, 1)
            inEditor("editorText").forceActiveFocus()
            typeText("saved once")
            doubleClick(inEditor("saveButton"))
            waitEditorClosed()
            tryCompare(model, "count", 2)
            wait(50)
            compare(model.count, 2)
            tryVerify(() => support.storedCount() === 2, 10000)
        }

        function test_c_openARow() {
            const row = rowAt(0)
            mouseDoubleClickSequence(findChild(row, "rowText"))
            waitEditorOpen()
            compare(testDevice.edit.kind, "existing")
            click(inEditor("cancelButton"))
            waitEditorClosed()
        }

        function test_d_completeToggle() {
            const row = rowAt(indexOfText("one row only"))
            doubleClick(findChild(row, "completeToggle"))
            // Completed once: the second click did not take it back.
            verify(row.completed)
            verify(testDevice.undo.pending)
            testDevice.undo.commit()
            tryCompare(model, "completedCount", 1)
        }

        function test_e_deleteButton() {
            const row = rowAt(indexOfText("saved once"))
            mouseMove(row)
            const button = findChild(row, "rowDeleteButton")
            tryCompare(button, "opacity", 1)
            doubleClick(button)
            verify(testDevice.undo.isHidden(row.remindId))
            compare(findChild(named("undoToast"), "undoText").text, "Reminder deleted")
            doubleClick(findChild(named("undoToast"), "undoButton"))
            verify(!testDevice.undo.pending)
            tryCompare(rowOf(row.remindId), "visible", true)
        }

        function test_f_bannerSnooze() {
            startNew("snooze me once", "In an hour")
            click(inEditor("saveButton"))
            waitEditorClosed()
            const id = rowAt(indexOfText("snooze me once")).remindId
            const due = support.at(2031, 6, 2, 11, 0)
            tryVerify(() => support.storedRemindTime(id) === due, 10000)
            support.setTime(due + 30 * 1000)
            handler.readyReminder()
            const banners = named("bannerStack")
            tryCompare(banners, "count", 1)
            doubleClick(findChild(named("banner_" + id), "bannerSnooze"))
            tryCompare(banners, "count", 0)
            // Ten minutes from now, not twenty.
            compare(testDevice.itemById(id).remindTime, support.now() + 10 * 60 * 1000)
        }
    }
}
