import QtQuick
import QtTest
import ReminderDesk

// Undo after completing and deleting: the row changes at once, the toast
// offers Undo, and Undo brings the row back as it was; one reminder can be
// deleted from its row (its button or the Delete key), every completed one
// without entering Select mode.
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
        name: "Undo"
        pane: devicePane

        function undoToast() { return named("undoToast") }

        function test_a_deleteFromTheRowAndUndo() {
            const id = quickAdd("renew the library card")
            quickAdd("book the flights")
            const row = rowOf(id)
            const button = findChild(row, "rowDeleteButton")
            mouseMove(row)
            tryCompare(button, "opacity", 1)
            click(button)
            // Gone from the list at once; the toast says so and offers Undo.
            tryCompare(row, "visible", false)
            compare(row.height, 0)
            tryCompare(undoToast(), "visible", true)
            compare(findChild(undoToast(), "undoText").text, "Reminder deleted")
            compare(named("countsLabel").text, "1 open  ·  0 completed")
            verify(testDevice.itemById(id) !== null)

            click(findChild(undoToast(), "undoButton"))
            tryCompare(rowOf(id), "visible", true)
            verify(!undoToast().visible)
            compare(named("countsLabel").text, "2 open  ·  0 completed")
            compare(model.count, 2)
        }

        function test_b_deleteKeyAndCtrlZ() {
            compare(model.count, 2)
            list.forceActiveFocus()
            tryCompare(list, "currentIndex", 0)
            const first = list.currentItem.remindId
            keyClick(Qt.Key_Delete)
            verify(testDevice.undo.isHidden(first))
            // The keyboard moved on to the next row that is shown.
            verify(list.currentItem.remindId !== first)
            verify(list.currentItem.visible)
            keyClick(Qt.Key_Z, Qt.ControlModifier)
            verify(!testDevice.undo.isHidden(first))
            tryCompare(rowOf(first), "visible", true)
        }

        function test_c_completeAndUndo() {
            const id = quickAdd("call the plumber")
            const stored = support.storedRemindTime(id)
            click(findChild(rowOf(id), "completeToggle"))
            verify(rowOf(id).completed)
            tryCompare(undoToast(), "visible", true)
            compare(findChild(undoToast(), "undoText").text, "Reminder completed")
            // Clicking the check again takes it back, as Undo does.
            click(findChild(rowOf(id), "completeToggle"))
            verify(!rowOf(id).completed)
            verify(!undoToast().visible)
            verify(!testDevice.itemById(id).completed)
            compare(support.storedRemindTime(id), stored)
        }

        function test_d_deleteAllCompletedWithoutSelectMode() {
            const id = quickAdd("post the parcel")
            click(findChild(rowOf(id), "completeToggle"))
            testDevice.undo.commit()
            tryCompare(model, "completedCount", 1)
            verify(!devicePane.selecting)
            const button = named("deleteAllCompletedButton")
            click(button)
            const dialog = named("confirmDialog")
            tryCompare(dialog, "opened", true)
            click(findChild(dialog.footer, "confirmDelete"))
            tryCompare(dialog, "visible", false)
            compare(named("countsLabel").text, "3 open  ·  0 completed")
            tryCompare(undoToast(), "visible", true)
            // The toast's time runs out: the deletion is carried out.
            tryCompare(model, "completedCount", 0, 12000)
            verify(!undoToast().visible)
            compare(testDevice.itemById(id), null)
            tryVerify(() => support.storedCount() === 3, 10000)
        }
    }
}
