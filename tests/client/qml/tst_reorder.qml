import QtQuick
import QtTest
import ReminderDesk

// Dragging a row by its handle reorders the list; the new order is kept.
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
        name: "Reorder"
        pane: devicePane

        function test_dragToReorder() {
            quickAdd("first")
            support.setTime(support.now() + 60 * 1000)
            quickAdd("second")
            support.setTime(support.now() + 60 * 1000)
            const third = quickAdd("third")
            // Newest first.
            compare(rowText(rowAt(0)), "third")
            compare(rowText(rowAt(2)), "first")

            // Drag "third" down onto the last row.
            const handle = findChild(rowAt(0), "dragHandle")
            const target = rowAt(2)
            const to = target.mapToItem(handle, target.width / 2, target.height / 2)
            mousePress(handle, handle.width / 2, handle.height / 2)
            mouseMove(handle, handle.width / 2, handle.height / 2 + 10, -1, Qt.LeftButton)
            mouseMove(handle, handle.width / 2, to.y, -1, Qt.LeftButton)
            mouseRelease(handle, handle.width / 2, to.y)

            tryVerify(() => list.itemAtIndex(2) && rowText(list.itemAtIndex(2)) === "third")
            compare(rowText(rowAt(0)), "second")
            compare(rowText(rowAt(1)), "first")
            // The new order is stored (the store lists by order, newest first).
            tryVerify(() => support.storedTexts().join(",") === "second,first,third", 10000)
            verify(testDevice.itemById(third) !== null)
        }
    }
}
