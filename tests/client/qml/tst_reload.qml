import QtQuick
import QtTest
import ReminderDesk

// Reminders loaded while the window is already up (a start with stored
// reminders): the list shows exactly the rows there are, no empty ones,
// whether completed ones are shown or not.
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
        name: "Reload"
        pane: devicePane

        function test_loadedRowsAreTheRowsThereAre() {
            quickAdd("alpha")
            quickAdd("bravo")
            const done = quickAdd("charlie")
            click(findChild(rowOf(done), "completeToggle"))
            testDevice.undo.commit()
            tryCompare(model, "completedCount", 1)
            tryVerify(() => support.storedCount() === 3, 10000)
            verify(!model.expand)
            compare(list.count, 2)

            support.reload()
            tryCompare(testDevice, "loaded", true, 20000)
            tryCompare(model, "count", 3)
            // Collapsed: the two open ones, nothing more.
            tryCompare(list, "count", 2)
            compare(list.count, model.rowCount())
            for (let i = 0; i < list.count; ++i)
                verify(rowAt(i).item !== null, "row " + i + " has no reminder")
            compare(named("countsLabel").text, "2 open  ·  1 completed")
            // The counts and the drag hint beside them do not overlap.
            const counts = named("countsLabel")
            const hint = named("dragHint")
            verify(hint.visible)
            const right = counts.mapToItem(hint.parent, counts.width, 0).x
            verify(right <= hint.x, "counts end at " + right + ", the hint starts at " + hint.x)

            model.expand = true
            tryCompare(list, "count", 3)
            compare(list.count, model.rowCount())
        }
    }
}
