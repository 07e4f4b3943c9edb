import QtQuick
import QtQuick.Controls
import QtQuick.Controls.Material

// "Save this reminder?" with Save, Discard and Cancel: asked before an
// edit with changes closes (Esc, the editor's close button, closing the
// window).
Dialog {
    id: dialog
    objectName: "unsavedDialog"

    // Called with true (save) or false (discard); Cancel calls nothing.
    property var decide: null
    property bool canSave: true

    parent: Overlay.overlay
    anchors.centerIn: parent
    modal: true
    width: Math.min(420, parent ? parent.width - 40 : 420)
    closePolicy: Popup.CloseOnEscape

    Material.theme: Material.Light
    Material.accent: Theme.accent
    Material.primary: Theme.accent

    function ask(isNew, canSave, onDecision) {
        dialog.title = isNew ? qsTrId("desk_unsaved_new_title") : qsTrId("desk_unsaved_edit_title")
        message.text = !canSave ? qsTrId("desk_unsaved_cannot_save")
                                : (isNew ? qsTrId("desk_unsaved_new_text") : qsTrId("desk_unsaved_text"))
        dialog.canSave = canSave
        dialog.decide = onDecision
        dialog.open()
    }
    function answer(save) {
        const run = dialog.decide
        dialog.decide = null
        dialog.close()
        if (run)
            run(save)
    }

    Label {
        id: message
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

    footer: Row {
        layoutDirection: Qt.RightToLeft
        spacing: 8
        rightPadding: 16
        bottomPadding: 14
        PrimaryButton {
            objectName: "unsavedSave"
            text: qsTrId("desk_save")
            enabled: dialog.canSave
            onClicked: dialog.answer(true)
        }
        FlatButton {
            objectName: "unsavedDiscard"
            text: qsTrId("desk_discard")
            tint: Theme.danger
            onClicked: dialog.answer(false)
        }
        FlatButton {
            objectName: "unsavedCancel"
            text: qsTrId("desk_cancel")
            onClicked: {
                dialog.decide = null
                dialog.close()
            }
        }
    }

    onRejected: dialog.decide = null
}
