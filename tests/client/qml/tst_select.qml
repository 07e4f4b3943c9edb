import QtQuick
import QtTest
import ReminderDesk

// Multi-selection: select all, select the completed ones, delete the
// selected ones and all completed ones.
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
        name: "SelectAndDelete"
        pane: devicePane

        function confirm() {
            const dialog = named("confirmDialog")
            tryCompare(dialog, "opened", true)
            click(findChild(dialog.footer, "confirmDelete"))
            tryCompare(dialog, "visible", false)
        }

        function test_selectAndDelete() {
            const a = quickAdd("alpha")
            const b = quickAdd("bravo")
            const c = quickAdd("charlie")
            const d = quickAdd("delta")
            click(findChild(rowOf(c), "completeToggle"))
            click(findChild(rowOf(d), "completeToggle"))
            // Completing d carried c's completion out; d's waits for its
            // toast, whose time is up here.
            tryCompare(model, "completedCount", 1)
            testDevice.undo.commit()
            tryCompare(model, "completedCount", 2)
            tryVerify(() => support.storedCount() === 4, 10000)

            click(named("selectModeButton"))
            verify(devicePane.selecting)
            const box = findChild(rowOf(a), "selectBox")
            click(box)
            compare(handler.selectCount, 1)
            verify(handler.selected(a))
            verify(box.checked)
            compare(named("selectedCountLabel").text, "1 selected")

            click(named("selectCompletedButton"))
            compare(handler.selectCount, 3)
            compare(handler.selectCompletedCount, 2)
            verify(handler.selected(c) && handler.selected(d))

            const all = named("selectAllBox")
            click(all)
            compare(handler.selectCount, 4)
            verify(all.checked)
            click(all)
            compare(handler.selectCount, 0)

            // Delete the selected one.
            click(findChild(rowOf(a), "selectBox"))
            compare(handler.selectCount, 1)
            click(named("deleteSelectedButton"))
            confirm()
            // Hidden at once, deleted when the Undo toast's time is up.
            compare(handler.selectCount, 0)
            verify(!rowOf(a).visible)
            compare(model.count, 4)
            testDevice.undo.commit()
            tryCompare(model, "count", 3)
            compare(testDevice.itemById(a), null)

            // Delete every completed one.
            click(named("deleteCompletedButton"))
            confirm()
            compare(named("countsLabel").text, "1 open  ·  0 completed")
            testDevice.undo.commit()
            tryCompare(model, "count", 1)
            compare(model.completedCount, 0)
            verify(testDevice.itemById(b) !== null)
            tryVerify(() => support.storedCount() === 1, 10000)

            click(named("selectDoneButton"))
            verify(!devicePane.selecting)
        }
    }
}
