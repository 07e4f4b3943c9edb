import QtQuick
import QtTest
import ReminderDesk

// "Sync now" lists from the server again and says when it is done; a toast
// shown while the editor is open sits above it, clear of its buttons.
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
        name: "Sync"
        pane: devicePane

        function test_a_syncNowSaysWhenItIsDone() {
            const toast = named("toast")
            toast.opacity = 0
            click(named("syncButton"))
            tryCompare(testDevice, "listing", false, 20000)
            tryCompare(toast, "visible", true)
            compare(toast.text, "Up to date with the server")
            // At the bottom while no editor is open.
            verify(toast.y > devicePane.height / 2)
        }

        function test_b_toastsClearOfTheEditor() {
            const toast = named("toast")
            toast.opacity = 0
            startNew("a toast over the editor", "")
            testDevice.edit.attach("file://" + support.makeFolder("not-a-file"))
            tryCompare(toast, "visible", true)
            const save = inEditor("saveButton")
            const saveTop = save.mapToItem(devicePane, 0, 0).y
            verify(toast.y + toast.height < saveTop, "toast " + toast.y + "+" + toast.height + ", Save at " + saveTop)
            verify(toast.y < devicePane.height / 2)
            click(inEditor("cancelButton"))
            waitEditorClosed()
        }
    }
}
