import QtQuick
import QtTest
import ReminderDesk

// Completing a reminder from its row: it moves to the completed section.
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
        name: "Complete"
        pane: devicePane

        function test_completeAndFindInCompletedSection() {
            const id = quickAdd("return the library books")
            quickAdd("water the plants")
            compare(model.completedCount, 0)
            verify(!named("completedToggle").visible)

            click(findChild(rowOf(id), "completeToggle"))
            // The row shows its check at once; the reminder is completed
            // when the Undo toast's time is up.
            verify(rowOf(id).completed)
            const undoToast = named("undoToast")
            tryCompare(undoToast, "visible", true)
            compare(findChild(undoToast, "undoText").text, "Reminder completed")
            compare(model.completedCount, 0)
            verify(!testDevice.itemById(id).completed)
            tryCompare(model, "completedCount", 1, 12000)
            verify(!undoToast.visible)
            verify(testDevice.itemById(id).completed)
            // Collapsed: only the open reminder is listed.
            compare(list.count, 1)
            compare(rowText(rowAt(0)), "water the plants")
            compare(named("countsLabel").text, "1 open  ·  1 completed")

            const toggle = named("completedToggle")
            verify(toggle.visible)
            click(toggle)
            verify(model.expand)
            tryCompare(list, "count", 2)
            // The completed section comes first, struck through.
            const done = rowAt(0)
            compare(done.remindId, id)
            verify(done.completed)
            verify(findChild(done, "rowText").font.strikeout)
            compare(rowText(rowAt(1)), "water the plants")

            // Reopened, it returns to the open section.
            click(findChild(done, "completeToggle"))
            tryCompare(model, "completedCount", 0)
            tryCompare(list, "count", 2)
            verify(!testDevice.itemById(id).completed)
        }
    }
}
