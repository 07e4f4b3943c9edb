import QtQuick
import QtTest
import ReminderDesk

// At the window's smallest size (760 x 560) nothing overlaps: the chat pane
// folds away and the list keeps the width; wide again, the chat comes back.
Item {
    id: root
    width: 980
    height: 700

    DevicePane {
        id: devicePane
        width: root.width
        height: root.height
        device: testDevice
        desk: testDesk
    }

    ClientTestCase {
        name: "Narrow"
        pane: devicePane

        function test_chatFoldsAwayAtTheSmallestSize() {
            const chat = named("chatPane")
            const listPane = named("reminderListPane")
            compare(chat.width, 300)
            devicePane.width = 760
            devicePane.height = 560
            tryCompare(chat, "width", 0)
            verify(!chat.enabled)
            tryVerify(() => listPane.width >= 740, 5000)
            // The controls of the list's top row stay inside the list.
            const add = named("newButton")
            const right = add.mapToItem(listPane, add.width, 0).x
            verify(right <= listPane.width, "New button ends at " + right)
            devicePane.width = 980
            devicePane.height = 700
            tryCompare(chat, "width", 300)
            verify(chat.enabled)
            verify(chat.mapToItem(devicePane, 0, 0).x >= listPane.mapToItem(devicePane, listPane.width, 0).x)
        }
    }
}
