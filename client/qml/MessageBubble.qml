import QtQuick
import QtQuick.Controls
import QtQuick.Controls.Material
import QtQuick.Layouts

// One chat message: sender, time, its content by kind, and "Remind me".
Item {
    id: bubble

    required property var modelData
    required property int index
    required property var pane

    implicitHeight: column.implicitHeight

    ColumnLayout {
        id: column
        x: 14
        width: bubble.width - 28
        spacing: 4

        RowLayout {
            spacing: 8
            Rectangle {
                implicitWidth: 26
                implicitHeight: 26
                radius: 13
                color: ["#7c8cf8", "#f49b6c", "#5cb89a"][Math.abs(bubble.modelData.sender.length) % 3]
                Label {
                    anchors.centerIn: parent
                    text: bubble.modelData.sender.charAt(0)
                    color: "white"
                    font.pixelSize: Theme.fontSmall
                    font.weight: Font.Bold
                }
            }
            Label {
                text: bubble.modelData.sender
                font.pixelSize: Theme.fontSmall + 1
                font.weight: Font.DemiBold
                color: Theme.text
            }
            Label {
                text: bubble.modelData.time
                font.pixelSize: Theme.fontSmall
                color: Theme.faint
            }
        }

        Rectangle {
            Layout.fillWidth: true
            Layout.leftMargin: 34
            implicitHeight: inner.implicitHeight + 20
            radius: 12
            color: Theme.quote

            ColumnLayout {
                id: inner
                anchors.left: parent.left
                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                anchors.margins: 12
                spacing: 6

                // Text.
                Label {
                    visible: bubble.modelData.kind === "text"
                    Layout.fillWidth: true
                    text: bubble.modelData.text || ""
                    wrapMode: Text.Wrap
                    font.pixelSize: Theme.fontBase
                    color: Theme.text
                }
                // File.
                RowLayout {
                    visible: bubble.modelData.kind === "file"
                    spacing: 10
                    Rectangle {
                        implicitWidth: 36
                        implicitHeight: 42
                        radius: 6
                        color: "#e15b5b"
                        Label { anchors.centerIn: parent; text: "PDF"; color: "white"; font.pixelSize: 10; font.weight: Font.Bold }
                    }
                    ColumnLayout {
                        spacing: 1
                        Label {
                            text: bubble.modelData.fileName || ""
                            font.pixelSize: Theme.fontBase
                            color: Theme.text
                        }
                        Label {
                            text: bubble.modelData.fileSize || ""
                            font.pixelSize: Theme.fontSmall
                            color: Theme.subtle
                        }
                    }
                }
                // Contact card.
                RowLayout {
                    visible: bubble.modelData.kind === "card"
                    spacing: 10
                    Rectangle {
                        implicitWidth: 38
                        implicitHeight: 38
                        radius: 19
                        color: Theme.accentSoft
                        Icon { anchors.centerIn: parent; name: "person"; size: 20; color: Theme.accent }
                    }
                    ColumnLayout {
                        spacing: 1
                        Label {
                            text: bubble.modelData.cardName || ""
                            font.pixelSize: Theme.fontBase
                            font.weight: Font.DemiBold
                            color: Theme.text
                        }
                        Label {
                            text: qsTrId("desk_chat_contact_card")
                            font.pixelSize: Theme.fontSmall
                            color: Theme.subtle
                        }
                    }
                }
                // Poll.
                ColumnLayout {
                    visible: bubble.modelData.kind === "poll"
                    Layout.fillWidth: true
                    spacing: 5
                    RowLayout {
                        spacing: 6
                        Icon { name: "poll"; size: 16; color: Theme.accent }
                        Label {
                            text: qsTrId("desk_chat_poll")
                            font.pixelSize: Theme.fontSmall
                            color: Theme.accent
                            font.weight: Font.DemiBold
                        }
                    }
                    Label {
                        Layout.fillWidth: true
                        text: bubble.modelData.pollTitle || ""
                        wrapMode: Text.Wrap
                        font.pixelSize: Theme.fontBase
                        font.weight: Font.DemiBold
                        color: Theme.text
                    }
                    Repeater {
                        model: bubble.modelData.options || []
                        delegate: Rectangle {
                            required property string modelData
                            Layout.fillWidth: true
                            implicitHeight: 28
                            radius: 6
                            color: Theme.surface
                            border.color: Theme.border
                            Label {
                                anchors.verticalCenter: parent.verticalCenter
                                x: 10
                                text: parent.modelData
                                font.pixelSize: Theme.fontSmall + 1
                                color: Theme.text
                            }
                        }
                    }
                }
            }
        }

        Button {
            objectName: "remindAbout_" + bubble.index
            Layout.leftMargin: 28
            // A new reminder waits for the stored ones (their ids are taken).
            enabled: bubble.pane.device.loaded
            flat: true
            topInset: 0
            bottomInset: 0
            implicitHeight: 32
            font.pixelSize: Theme.fontSmall + 1
            contentItem: RowLayout {
                spacing: 6
                Icon { name: "bell"; size: 15; color: Theme.accent }
                Label { text: qsTrId("desk_chat_remind_me"); color: Theme.accent; font.pixelSize: Theme.fontSmall + 1 }
            }
            onClicked: bubble.pane.remindAbout(bubble.index)
        }
    }
}
