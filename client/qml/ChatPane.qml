import QtQuick
import QtQuick.Controls
import QtQuick.Controls.Material
import QtQuick.Layouts

// A small chat with sample messages of several kinds; each can be turned
// into a reminder ("Remind me").
Rectangle {
    id: chat

    required property var pane
    readonly property var device: pane.device

    color: Theme.surface

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        ColumnLayout {
            Layout.fillWidth: true
            Layout.margins: 16
            spacing: 2
            RowLayout {
                spacing: 8
                Icon { name: "chat"; size: 18; color: Theme.accent }
                Label {
                    text: qsTrId("desk_chat_title")
                    font.pixelSize: Theme.fontLarge
                    font.weight: Font.DemiBold
                    color: Theme.text
                }
            }
            Label {
                Layout.fillWidth: true
                text: qsTrId("desk_chat_hint")
                wrapMode: Text.Wrap
                font.pixelSize: Theme.fontSmall
                color: Theme.subtle
            }
        }

        Rectangle { Layout.fillWidth: true; implicitHeight: 1; color: Theme.border }

        ListView {
            id: messages
            objectName: "chatList"
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            spacing: 14
            topMargin: 14
            bottomMargin: 14
            model: chat.device.sampleMessages
            ScrollBar.vertical: ScrollBar {}
            delegate: MessageBubble {
                width: ListView.view.width
                pane: chat.pane
            }
        }
    }
}
