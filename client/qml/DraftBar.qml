import QtQuick
import QtQuick.Controls
import QtQuick.Controls.Material
import QtQuick.Layouts

// An edit the last run left open (the program was closed, or ended, with
// it): its text, "Continue editing" and "Discard".
Rectangle {
    id: bar
    objectName: "draftBar"

    required property var pane
    readonly property var edit: pane.device.edit

    visible: edit.hasDraft && !edit.open
    implicitHeight: row.implicitHeight + 16
    radius: Theme.radius
    color: Theme.warningSoft
    border.color: Theme.warning

    RowLayout {
        id: row
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        anchors.leftMargin: 12
        anchors.rightMargin: 8
        spacing: 8
        Icon { name: "edit"; size: 18; color: Theme.text }
        Label {
            objectName: "draftText"
            Layout.fillWidth: true
            text: bar.edit.draftText.length > 0 ? qsTrId("desk_draft_offer").arg(bar.edit.draftText)
                                                : qsTrId("desk_draft_offer_empty")
            elide: Text.ElideRight
            color: Theme.text
            font.pixelSize: Theme.fontBase
        }
        FlatButton {
            objectName: "draftDiscard"
            text: qsTrId("desk_discard")
            tint: Theme.danger
            onClicked: bar.edit.dropDraft()
        }
        PrimaryButton {
            objectName: "draftContinue"
            // The draft of a stored reminder opens that reminder: it waits
            // for the stored reminders to be in.
            enabled: bar.pane.device.loaded
            text: qsTrId("desk_draft_continue")
            onClicked: bar.pane.restoreDraft()
        }
    }
}
