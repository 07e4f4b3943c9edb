import QtQuick
import QtQuick.Controls
import QtQuick.Controls.Material
import QtQuick.Layouts

// Every keyboard shortcut of the window (F1 or Ctrl+/).
Popup {
    id: overlay
    objectName: "shortcutsOverlay"

    parent: Overlay.overlay
    anchors.centerIn: parent
    modal: true
    focus: true
    padding: 24
    closePolicy: Popup.CloseOnEscape | Popup.CloseOnPressOutside

    Material.theme: Material.Light
    Material.accent: Theme.accent

    // [keys, what they do].
    readonly property var rows: [
        ["Ctrl+N", qsTrId("desk_keys_new")],
        ["Ctrl+F", qsTrId("desk_keys_search")],
        ["↑ ↓", qsTrId("desk_keys_move")],
        [qsTrId("desk_key_enter"), qsTrId("desk_keys_open")],
        [qsTrId("desk_key_space"), qsTrId("desk_keys_complete")],
        [qsTrId("desk_key_delete"), qsTrId("desk_keys_delete")],
        ["Ctrl+Z", qsTrId("desk_keys_undo")],
        ["Ctrl+Enter", qsTrId("desk_keys_save")],
        ["Esc", qsTrId("desk_keys_cancel")],
        ["Tab", qsTrId("desk_keys_tab")],
        ["F1", qsTrId("desk_keys_help")],
    ]

    background: Rectangle {
        radius: 14
        color: Theme.surface
        border.color: Theme.border
    }

    contentItem: ColumnLayout {
        spacing: 14
        Label {
            text: qsTrId("desk_keys_title")
            font.pixelSize: Theme.fontTitle
            font.weight: Font.DemiBold
            color: Theme.text
        }
        GridLayout {
            columns: 2
            columnSpacing: 24
            rowSpacing: 8
            Repeater {
                model: overlay.rows.length * 2
                Label {
                    objectName: index % 2 === 0 ? "shortcutKeys_" + (index / 2) : "shortcutText_" + ((index - 1) / 2)
                    text: overlay.rows[Math.floor(index / 2)][index % 2]
                    color: index % 2 === 0 ? Theme.accent : Theme.text
                    font.pixelSize: Theme.fontBase
                    font.weight: index % 2 === 0 ? Font.DemiBold : Font.Normal
                }
            }
        }
    }
}
