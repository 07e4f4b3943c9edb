import QtQuick
import QtQuick.Controls
import QtQuick.Controls.Material

// "Delete 3 reminders?" with Delete and Cancel.
Dialog {
    id: dialog
    objectName: "confirmDialog"

    property var action: null

    parent: Overlay.overlay
    anchors.centerIn: parent
    modal: true
    width: 380
    title: qsTrId("desk_confirm_title")

    // A popup lives in the window's overlay: it takes the theme itself.
    Material.theme: Material.Light
    Material.accent: Theme.accent
    Material.primary: Theme.accent

    function ask(message, onConfirm) {
        text.text = message
        dialog.action = onConfirm
        dialog.open()
    }

    Label {
        id: text
        width: parent.width
        wrapMode: Text.Wrap
        font.pixelSize: Theme.fontBase
        color: Theme.text
    }

    background: Rectangle {
        radius: 14
        color: Theme.surface
        border.color: Theme.border
    }

    footer: DialogButtonBox {
        background: Item {}
        FlatButton {
            objectName: "confirmCancel"
            text: qsTrId("desk_cancel")
            DialogButtonBox.buttonRole: DialogButtonBox.RejectRole
        }
        FlatButton {
            objectName: "confirmDelete"
            text: qsTrId("desk_delete")
            tint: Theme.danger
            DialogButtonBox.buttonRole: DialogButtonBox.AcceptRole
        }
    }

    onAccepted: {
        const run = dialog.action
        dialog.action = null
        if (run)
            run()
    }
    onRejected: dialog.action = null
}
