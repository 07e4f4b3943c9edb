import QtQuick
import QtQuick.Controls
import QtTest
import ReminderDesk

// Files that cannot be attached: the toast says why, above the editor, and
// the edit goes on without an attachment.
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
        name: "AttachRefused"
        pane: devicePane

        function test_refusedFileSaysWhy_data() {
            return [
                { tag: "a folder", kind: "folder", reason: "reminder_directory_send_disable" },
                { tag: "an empty file", kind: "empty", reason: "desk_attach_empty" },
                { tag: "a file deleted after it was chosen", kind: "deleted", reason: "desk_attach_unreadable" },
            ]
        }

        function test_refusedFileSaysWhy(data) {
            // No toast left over from an earlier row.
            named("toast").opacity = 0
            startNew("attach " + data.tag, "")
            let path = ""
            if (data.kind === "folder") {
                path = support.makeFolder("a-folder")
            } else if (data.kind === "empty") {
                path = support.makeFile("empty.txt", "")
            } else {
                path = support.makeFile("gone.txt", "soon gone")
                verify(support.removeFile(path))
            }
            verify(path.length > 0)
            testDevice.edit.attach("file://" + path)

            const toast = named("toast")
            tryCompare(toast, "visible", true)
            compare(toast.text, qsTrId(data.reason))
            // Above the open editor.
            verify(editor.opened)
            compare(toast.parent, devicePane.Overlay.overlay)
            verify(toast.parent !== null)
            verify(toast.z > editor.z)
            verify(inEditor("attachButton").visible)

            click(inEditor("cancelButton"))
            waitEditorClosed()
        }
    }
}
