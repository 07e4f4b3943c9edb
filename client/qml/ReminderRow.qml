import QtQuick
import QtQuick.Controls
import QtQuick.Controls.Material
import QtQuick.Layouts

// One reminder in the list.
Item {
    id: row

    required property var reminderData
    required property int index
    required property var pane

    readonly property var device: pane.device
    readonly property var handler: pane.handler
    readonly property var item: device.asItem(reminderData)
    readonly property string remindId: item ? item.remindId : ""
    readonly property var undo: device.undo
    // Deleted, waiting for its Undo: the row is hidden.
    readonly property bool hidden: undo.revision >= 0 && remindId !== "" && undo.isHidden(remindId)
    // Completed, waiting for its Undo: it shows its check at once.
    readonly property bool completing: undo.revision >= 0 && remindId !== "" && undo.isCompleting(remindId)
    readonly property bool completed: item ? item.completed || completing : false
    readonly property var attachment: item ? device.attachment(item.content) : ({ kind: "none" })
    readonly property var quote: item ? item.quoteMsgItem : null
    readonly property bool overdue: { device.tick; return item ? device.isOverdue(item) : false }
    readonly property string whenText: { device.tick; return item ? device.formatTime(item.showRemindTime) : "" }
    // Snoozed: when it fires again, said instead of the time it passed.
    readonly property double snoozedUntil: {
        device.tick
        if (!item)
            return 0
        item.remindTime
        item.reminded
        return device.snoozedUntil(item)
    }
    readonly property string repeatText: {
        device.tick
        if (!item)
            return ""
        // Re-read when the rule or the time changes.
        item.interval; item.unit; item.dayOfWeekFlags; item.dayOfMonthFlags; item.weekOfMonthFlags
        item.endDate; item.repeatCount; item.showRemindTime
        return device.repeatWords(item)
    }
    readonly property bool showOpenHeading: !pane.searching && pane.model.expand
                                            && index === pane.model.completedCount
                                            && pane.model.count > pane.model.completedCount
    readonly property bool selectedNow: pane.handler.selectCount >= 0 && remindId !== ""
                                        && pane.handler.selected(remindId)

    objectName: "reminderRow_" + remindId
    // The row's card and, below it, the gap to the next row. A hidden
    // row keeps the "Open" heading it may carry.
    readonly property int gap: 8
    visible: !hidden || showOpenHeading
    height: (showOpenHeading ? heading.height : 0) + (hidden ? 0 : card.height + gap)

    // Completes (after the Undo toast) or reopens at once.
    function toggleCompleted() {
        if (row.completing)
            row.undo.undo()
        else if (row.item && row.item.completed)
            row.handler.completedReminder(row.remindId, false)
        else
            row.undo.complete(row.remindId)
    }
    function deleteRow() {
        row.undo.remove(row.remindId)
    }

    Label {
        id: heading
        visible: row.showOpenHeading
        height: 34
        verticalAlignment: Text.AlignVCenter
        text: qsTrId("desk_open_heading")
        color: Theme.subtle
        font.pixelSize: Theme.fontBase
        font.weight: Font.DemiBold
    }

    Rectangle {
        id: card
        visible: !row.hidden
        y: row.showOpenHeading ? heading.height : 0
        width: row.width
        height: Math.max(64, content.implicitHeight + 24)
        radius: Theme.radius
        color: row.selectedNow && row.pane.selecting ? Theme.accentSoft
               : (cardMouse.containsMouse ? "#fbfcfe" : Theme.surface)
        // The row the keyboard is on has the accent's outline.
        readonly property bool keyboardCurrent: row.ListView.isCurrentItem && row.ListView.view
                                                && row.ListView.view.activeFocus
        border.color: (row.selectedNow && row.pane.selecting) || keyboardCurrent ? Theme.accent : Theme.border
        border.width: keyboardCurrent ? 2 : 1

        MouseArea {
            id: cardMouse
            anchors.fill: parent
            hoverEnabled: true
            cursorShape: Qt.PointingHandCursor
            onClicked: {
                if (row.pane.selecting)
                    row.handler.select(row.remindId)
                else
                    row.pane.openEditor(row.remindId)
            }
        }

        RowLayout {
            id: content
            anchors.left: parent.left
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            anchors.leftMargin: 6
            anchors.rightMargin: 14
            spacing: 8

            // Drag handle: reorders within the section.
            Item {
                objectName: "dragHandle"
                Layout.preferredWidth: 22
                Layout.fillHeight: true
                Layout.minimumHeight: 24
                visible: !row.pane.searching && !row.pane.selecting
                Icon {
                    anchors.centerIn: parent
                    name: "drag"
                    size: 18
                    lineWidth: 3
                    color: dragArea.pressed ? Theme.accent : Theme.faint
                }
                MouseArea {
                    id: dragArea
                    anchors.fill: parent
                    cursorShape: Qt.SizeVerCursor
                    preventStealing: true
                    property int current: -1
                    onPressed: current = row.index
                    onPositionChanged: (mouse) => {
                        if (current < 0)
                            return
                        const view = row.ListView.view
                        const p = mapToItem(view.contentItem, mouse.x, mouse.y)
                        const target = view.indexAt(view.width / 2, p.y)
                        if (target >= 0 && target !== current) {
                            row.handler.move(current, target)
                            current = row.index
                        }
                    }
                    onReleased: {
                        current = -1
                        row.handler.moveFinish()
                    }
                    onCanceled: {
                        current = -1
                        row.handler.moveFinish()
                    }
                }
            }

            // Complete / reopen.
            Rectangle {
                id: completeToggle
                objectName: "completeToggle"
                Layout.preferredWidth: 24
                Layout.preferredHeight: 24
                Layout.alignment: Qt.AlignTop
                Layout.topMargin: 0
                Layout.leftMargin: row.pane.searching || row.pane.selecting ? 8 : 0
                radius: 12
                color: row.completed ? Theme.success : (completeMouse.containsMouse ? Theme.successSoft : "transparent")
                border.color: row.completed ? Theme.success : (row.overdue ? Theme.danger : "#b7bfcc")
                border.width: 2
                Icon {
                    anchors.centerIn: parent
                    visible: row.completed || completeMouse.containsMouse
                    name: "check"
                    size: 16
                    lineWidth: 2.4
                    color: row.completed ? "white" : Theme.success
                }
                MouseArea {
                    id: completeMouse
                    anchors.fill: parent
                    anchors.margins: -6
                    hoverEnabled: true
                    cursorShape: Qt.PointingHandCursor
                    onClicked: row.toggleCompleted()
                    // The second click of a double click is not a second
                    // toggle (it would take the first back).
                    onDoubleClicked: (mouse) => mouse.accepted = true
                }
                ToolTip.visible: completeMouse.containsMouse
                ToolTip.delay: 600
                ToolTip.text: row.completed ? qsTrId("desk_reopen_tooltip") : qsTrId("desk_complete_tooltip")
            }

            ColumnLayout {
                Layout.fillWidth: true
                Layout.alignment: Qt.AlignTop
                Layout.topMargin: 1
                spacing: 5

                Label {
                    objectName: "rowText"
                    Layout.fillWidth: true
                    visible: text.length > 0
                    text: {
                        if (!row.item)
                            return ""
                        const body = row.item.content
                        if (body)
                            body.content
                        return row.device.bodyText(row.item)
                    }
                    elide: Text.ElideRight
                    maximumLineCount: 2
                    wrapMode: Text.Wrap
                    font.pixelSize: Theme.fontLarge
                    font.strikeout: row.completed
                    color: row.completed ? Theme.faint : Theme.text
                }

                // Attachment as a file chip (images show a thumbnail on the right).
                RowLayout {
                    visible: row.attachment.kind !== "none"
                    spacing: 6
                    Icon {
                        name: row.attachment.kind === "image" ? "image" : "file"
                        size: 16
                        color: Theme.accent
                    }
                    Label {
                        objectName: "rowAttachment"
                        text: row.attachment.name || ""
                        color: Theme.accent
                        font.pixelSize: Theme.fontBase
                        elide: Text.ElideMiddle
                        Layout.maximumWidth: 320
                    }
                    Label {
                        text: row.attachment.size || ""
                        color: Theme.faint
                        font.pixelSize: Theme.fontSmall
                    }
                }
                // Its upload, while it runs.
                RowLayout {
                    objectName: "rowUpload"
                    readonly property real progress: row.device.uploads >= 0 && row.remindId !== ""
                                                     ? row.device.uploadProgress(row.remindId) : -1
                    visible: progress >= 0
                    spacing: 8
                    ProgressBar {
                        Layout.preferredWidth: 140
                        from: 0
                        to: 1
                        value: Math.max(0, parent.progress)
                    }
                    Label {
                        objectName: "rowUploadText"
                        text: qsTrId("desk_upload_progress").arg(Math.floor(Math.max(0, parent.progress) * 100))
                        color: Theme.subtle
                        font.pixelSize: Theme.fontSmall
                    }
                }

                // The quoted chat message.
                Rectangle {
                    visible: row.quote !== null
                    Layout.fillWidth: true
                    implicitHeight: quoteRow.implicitHeight + 10
                    radius: 6
                    color: Theme.quote
                    Rectangle {
                        width: 3
                        height: parent.height - 8
                        anchors.verticalCenter: parent.verticalCenter
                        x: 4
                        radius: 1.5
                        color: Theme.accent
                        opacity: 0.6
                    }
                    RowLayout {
                        id: quoteRow
                        anchors.left: parent.left
                        anchors.right: parent.right
                        anchors.verticalCenter: parent.verticalCenter
                        anchors.leftMargin: 14
                        anchors.rightMargin: 8
                        spacing: 6
                        Label {
                            objectName: "rowQuoteSender"
                            text: { row.device.tick; return row.device.quoteSender(row.quote) }
                            font.pixelSize: Theme.fontSmall
                            font.weight: Font.DemiBold
                            color: Theme.text
                        }
                        Label {
                            objectName: "rowQuoteText"
                            Layout.fillWidth: true
                            text: { row.device.tick; return row.device.quoteSummary(row.quote) }
                            font.pixelSize: Theme.fontSmall
                            color: Theme.subtle
                            elide: Text.ElideRight
                        }
                    }
                }

                // When, how it repeats, snooze.
                Flow {
                    Layout.fillWidth: true
                    spacing: 14
                    visible: row.whenText.length > 0 || row.repeatText.length > 0

                    Row {
                        spacing: 5
                        visible: row.whenText.length > 0
                        Icon {
                            name: "clock"
                            size: 15
                            color: row.overdue ? Theme.danger : Theme.subtle
                            anchors.verticalCenter: parent.verticalCenter
                        }
                        Label {
                            objectName: "rowWhen"
                            text: row.snoozedUntil > 0
                                  ? qsTrId("desk_row_snoozed_until").arg(device.formatTime(row.snoozedUntil))
                                  : (row.overdue ? qsTrId("desk_row_overdue").arg(row.whenText) : row.whenText)
                            color: row.overdue && row.snoozedUntil <= 0 ? Theme.danger : Theme.subtle
                            font.pixelSize: Theme.fontSmall + 1
                            font.weight: row.overdue && row.snoozedUntil <= 0 ? Font.DemiBold : Font.Normal
                        }
                    }
                    Row {
                        spacing: 5
                        visible: row.repeatText.length > 0
                        Icon {
                            name: "repeat"
                            size: 15
                            color: Theme.subtle
                            anchors.verticalCenter: parent.verticalCenter
                        }
                        Label {
                            objectName: "rowRepeat"
                            text: row.repeatText
                            color: Theme.subtle
                            font.pixelSize: Theme.fontSmall + 1
                        }
                    }
                    Row {
                        spacing: 5
                        visible: row.item !== null && row.item.snooze > 0
                        Icon {
                            name: "snooze"
                            size: 15
                            color: Theme.subtle
                            anchors.verticalCenter: parent.verticalCenter
                        }
                        Label {
                            text: row.item ? qsTrId("desk_row_snooze", row.item.snooze) : ""
                            color: Theme.subtle
                            font.pixelSize: Theme.fontSmall + 1
                        }
                    }
                }
            }

            Image {
                Layout.alignment: Qt.AlignVCenter
                visible: row.attachment.kind === "image" && row.attachment.thumb !== ""
                Layout.preferredWidth: 56
                Layout.preferredHeight: 56
                source: visible ? row.attachment.thumb : ""
                fillMode: Image.PreserveAspectCrop
                sourceSize.width: 112
                sourceSize.height: 112
                asynchronous: true
                clip: true
            }

            // Deletes this reminder (Undo brings it back).
            ToolButton {
                id: deleteButton
                objectName: "rowDeleteButton"
                Layout.alignment: Qt.AlignVCenter
                implicitWidth: 34
                implicitHeight: 34
                visible: !row.pane.selecting
                opacity: cardMouse.containsMouse || hovered || card.keyboardCurrent ? 1 : 0
                contentItem: Item {
                    Icon { anchors.centerIn: parent; name: "trash"; size: 18; color: Theme.danger }
                }
                background: Rectangle {
                    radius: 17
                    color: deleteButton.hovered ? Theme.dangerSoft : "transparent"
                }
                ToolTip.visible: hovered
                ToolTip.delay: 400
                ToolTip.text: qsTrId("desk_delete_tooltip")
                onClicked: row.deleteRow()
            }

            CheckBox {
                objectName: "selectBox"
                Layout.alignment: Qt.AlignVCenter
                padding: 0
                implicitHeight: 28
                visible: row.pane.selecting
                checked: row.selectedNow
                onClicked: row.handler.select(row.remindId)
            }
        }
    }
}
