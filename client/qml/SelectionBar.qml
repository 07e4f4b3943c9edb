import QtQuick
import QtQuick.Controls
import QtQuick.Controls.Material
import QtQuick.Layouts

// Multi-selection: select all, select the completed ones, delete.
Rectangle {
    id: bar

    required property var pane
    readonly property var handler: pane.handler
    readonly property var list: pane.shownModel

    implicitHeight: rows.implicitHeight + 12
    radius: Theme.radius
    color: Theme.accentSoft
    border.color: "#cddbf6"

    ColumnLayout {
        id: rows
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        anchors.leftMargin: 8
        anchors.rightMargin: 8
        spacing: 0

        RowLayout {
            Layout.fillWidth: true
            spacing: 4
            CheckBox {
                id: selectAllBox
                objectName: "selectAllBox"
                text: qsTrId("desk_select_all")
                font.pixelSize: Theme.fontBase
                checked: bar.handler.selectCount > 0 && bar.handler.selectCount >= bar.list.count
                onClicked: bar.handler.selectAll(checked)
            }
            Label {
                objectName: "selectedCountLabel"
                text: qsTrId("desk_selected_count", bar.handler.selectCount)
                color: Theme.accent
                font.pixelSize: Theme.fontBase
                font.weight: Font.DemiBold
            }
            Item { Layout.fillWidth: true }
            PrimaryButton {
                objectName: "selectDoneButton"
                text: qsTrId("desk_done")
                onClicked: bar.pane.setSelecting(false)
            }
        }

        RowLayout {
            Layout.fillWidth: true
            spacing: 4
            FlatButton {
                objectName: "selectCompletedButton"
                text: qsTrId("desk_select_completed")
                enabled: bar.list.completedCount > 0
                onClicked: bar.handler.selectAllCompleted(true)
            }
            Item { Layout.fillWidth: true }
            FlatButton {
                objectName: "deleteSelectedButton"
                tint: Theme.danger
                text: qsTrId("desk_delete_selected")
                enabled: bar.handler.selectCount > 0
                onClicked: bar.pane.askConfirm(qsTrId("desk_confirm_delete_selected", bar.handler.selectCount),
                                       () => bar.pane.device.undo.removeSelected())
            }
            FlatButton {
                objectName: "deleteCompletedButton"
                tint: Theme.danger
                text: qsTrId("desk_delete_completed")
                enabled: bar.list.completedCount > 0
                onClicked: bar.pane.askConfirm(qsTrId("desk_confirm_delete_completed", bar.list.completedCount),
                                       () => bar.pane.device.undo.removeAllCompleted(bar.pane.searching))
            }
        }
    }
}
