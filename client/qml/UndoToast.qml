import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// "Reminder completed · Undo": stays while the action waits for its Undo
// (DeskUndo.kUndoMs), then goes when the action is carried out.
Rectangle {
    id: toast
    objectName: "undoToast"

    required property var undo

    visible: undo.pending
    width: Math.min(row.implicitWidth + 36, parent ? parent.width - 60 : 600)
    height: 46
    radius: height / 2
    color: Theme.toast

    RowLayout {
        id: row
        anchors.fill: parent
        anchors.leftMargin: 20
        anchors.rightMargin: 8
        spacing: 12
        Label {
            objectName: "undoText"
            Layout.fillWidth: true
            text: toast.undo.text
            elide: Text.ElideRight
            color: "white"
            font.pixelSize: Theme.fontBase
        }
        Button {
            id: undoButton
            objectName: "undoButton"
            flat: true
            implicitHeight: 36
            topInset: 0
            bottomInset: 0
            contentItem: RowLayout {
                spacing: 6
                Icon { name: "undo"; size: 16; color: Theme.toastAction }
                Label {
                    text: qsTrId("desk_undo")
                    color: Theme.toastAction
                    font.pixelSize: Theme.fontBase
                    font.weight: Font.DemiBold
                }
            }
            background: Rectangle {
                radius: 18
                color: undoButton.hovered ? "#3a4254" : "transparent"
            }
            ToolTip.visible: hovered
            ToolTip.text: qsTrId("desk_undo_tooltip")
            onClicked: toast.undo.undo()
        }
    }
}
