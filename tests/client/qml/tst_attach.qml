import QtQuick
import QtTest
import ReminderDesk

// Attaching a file in the editor (what the file chooser hands on), seeing
// it in the editor and in the row, and removing it again.
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
        name: "Attachment"
        pane: devicePane

        function test_attachAndRemove() {
            startNew("print the holiday photo", "")
            // The file chooser opens (and is left without a choice).
            click(inEditor("attachButton"))
            const chooser = findChild(editor.contentItem, "fileChooser")
            verify(chooser !== null)
            tryCompare(chooser, "visible", true)
            chooser.reject()
            tryCompare(chooser, "visible", false)

            // What the chooser hands on when a file is picked.
            const path = support.makeImage("holiday.png")
            verify(path.length > 0)
            testDevice.edit.attach("file://" + path)
            // The picture is carried as the converted copy the media model made.
            tryCompare(inEditor("editorAttachmentName"), "text", "holiday.jpg")
            verify(!inEditor("attachButton").visible)

            click(inEditor("saveButton"))
            waitEditorClosed()
            tryCompare(model, "count", 1)
            const row = rowAt(0)
            tryCompare(findChild(row, "rowAttachment"), "text", "holiday.jpg")
            compare(rowText(row), "print the holiday photo")
            // The upload finishes and the server accepts the reminder.
            tryVerify(() => support.serverCount() === 1, 20000)

            // Opened again, the attachment is removed.
            compare(findChild(row, "rowUpload").visible, false)
            mouseClick(findChild(row, "rowText"))
            waitEditorOpen()
            click(inEditor("removeAttachmentButton"))
            tryVerify(() => inEditor("attachButton").visible)
            click(inEditor("saveButton"))
            waitEditorClosed()
            tryCompare(findChild(rowAt(0), "rowAttachment"), "visible", false)
            compare(rowText(rowAt(0)), "print the holiday photo")
        }
    
        function test_uploadShowsItsProgress() {
            // The file service holds the upload: the row says it is on its way.
            support.holdUploads(true)
            startNew("send the scan", "")
            testDevice.edit.attach("file://" + support.makeFile("scan.pdf", "x".repeat(300000)))
            tryCompare(inEditor("editorAttachmentName"), "text", "scan.pdf")
            click(inEditor("saveButton"))
            waitEditorClosed()
            const row = rowAt(indexOfText("send the scan"))
            const upload = findChild(row, "rowUpload")
            tryCompare(upload, "visible", true)
            compare(findChild(row, "rowUploadText").text, "Uploading… 0%")
            // Let go: it finishes, and the row no longer shows an upload.
            support.holdUploads(false)
            tryCompare(upload, "visible", false, 20000)
            tryVerify(() => support.serverCount() === 2, 20000)
        }
    }
}
