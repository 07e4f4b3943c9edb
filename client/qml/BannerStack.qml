import QtQuick
import QtQuick.Controls
import QtQuick.Controls.Material
import QtQuick.Layouts

// Banners of fired reminders, newest on top, each with the four answers.
Column {
    id: stack
    objectName: "bannerStack"

    required property var pane
    readonly property var device: pane.device
    readonly property var handler: pane.handler
    readonly property int count: repeater.count

    width: 380
    spacing: 10

    Repeater {
        id: repeater
        model: stack.device.banners
        delegate: Item {
            id: banner
            required property var modelData
            readonly property string remindId: modelData.remindId
            readonly property var item: modelData.item
            objectName: "banner_" + remindId
            width: stack.width
            height: card.height

            // A soft shadow.
            Rectangle {
                x: 0
                y: 3
                width: card.width
                height: card.height
                radius: 14
                color: "#1a1d2330"
            }
            Rectangle {
                id: card
                width: parent.width
                height: body.implicitHeight + 28
                radius: 14
                color: Theme.surface
                border.color: Theme.border

                Rectangle {
                    width: 4
                    height: parent.height - 24
                    anchors.verticalCenter: parent.verticalCenter
                    x: 0
                    radius: 2
                    color: Theme.accent
                }

                ColumnLayout {
                    id: body
                    anchors.left: parent.left
                    anchors.right: parent.right
                    anchors.top: parent.top
                    anchors.margins: 14
                    anchors.leftMargin: 18
                    spacing: 8

                    RowLayout {
                        Layout.fillWidth: true
                        spacing: 8
                        Rectangle {
                            implicitWidth: 28
                            implicitHeight: 28
                            radius: 14
                            color: Theme.accentSoft
                            Icon { anchors.centerIn: parent; name: "bell"; size: 17; color: Theme.accent }
                        }
                        Label {
                            Layout.fillWidth: true
                            text: {
                                stack.device.tick
                                // The occurrence that fired (the record's time is the next one).
                                const shown = banner.item ? banner.item.showRemindTime : 0
                                return qsTrId("desk_banner_title").arg(
                                    stack.device.formatTime(shown > 0 ? shown : banner.modelData.dateTime))
                            }
                            font.pixelSize: Theme.fontSmall + 1
                            font.weight: Font.DemiBold
                            color: Theme.accent
                        }
                        ToolButton {
                            objectName: "bannerDismiss"
                            implicitWidth: 30
                            implicitHeight: 30
                            contentItem: Item { Icon { anchors.centerIn: parent; name: "close"; size: 14; color: Theme.subtle } }
                            onClicked: stack.device.dismissBanner(banner.remindId)
                        }
                    }
                    Label {
                        objectName: "bannerText"
                        Layout.fillWidth: true
                        text: {
                            if (!banner.item)
                                return ""
                            const body = banner.item.content
                            if (body)
                                body.content
                            const own = stack.device.bodyText(banner.item)
                            return own.length > 0 ? own : stack.device.attachment(banner.item.content).name || ""
                        }
                        wrapMode: Text.Wrap
                        maximumLineCount: 3
                        elide: Text.ElideRight
                        font.pixelSize: Theme.fontLarge
                        color: Theme.text
                    }
                    Label {
                        Layout.fillWidth: true
                        visible: banner.item !== null && banner.item.quoteMsgItem !== null
                        text: banner.item && banner.item.quoteMsgItem
                              ? stack.device.quoteSender(banner.item.quoteMsgItem) + ": "
                                + stack.device.quoteSummary(banner.item.quoteMsgItem) : ""
                        elide: Text.ElideRight
                        font.pixelSize: Theme.fontSmall
                        color: Theme.subtle
                    }
                    RowLayout {
                        Layout.fillWidth: true
                        spacing: 4
                        FlatButton {
                            objectName: "bannerSnooze"
                            text: qsTrId("desk_banner_snooze")
                            font.pixelSize: Theme.fontSmall + 1
                            onClicked: {
                                stack.device.answerSnooze(banner.remindId, 10)
                            }
                        }
                        FlatButton {
                            objectName: "bannerTomorrow"
                            text: qsTrId("desk_banner_tomorrow")
                            font.pixelSize: Theme.fontSmall + 1
                            onClicked: {
                                stack.device.answerTomorrow(banner.remindId)
                            }
                        }
                        FlatButton {
                            objectName: "bannerClose"
                            text: qsTrId("desk_banner_close")
                            font.pixelSize: Theme.fontSmall + 1
                            onClicked: {
                                stack.device.answerClose(banner.remindId)
                            }
                        }
                        Item { Layout.fillWidth: true }
                        PrimaryButton {
                            objectName: "bannerDone"
                            text: qsTrId("desk_banner_done")
                            font.pixelSize: Theme.fontSmall + 1
                            onClicked: {
                                stack.device.answerDone(banner.remindId)
                            }
                        }
                    }
                }
            }
        }
    }
}
