import QtQuick
import QtQuick.Controls
import QtQuick.Controls.Material
import QtQuick.Dialogs
import QtQuick.Layouts

// The reminder's page of the editor: text, quoted message, attachment,
// time and a summary of the repeat rule.
Page {
    id: page
    objectName: "editorPage"

    required property var editor
    required property var pane
    readonly property var device: pane.device
    readonly property var handler: pane.handler
    readonly property var pattern: handler.reminderPattern
    readonly property bool hasTime: pattern.remindTime > 0
    readonly property var edit: device.edit
    // A new reminder's file waits in the edit until it is saved.
    readonly property var attachment: edit.kind === "new" ? edit.pendingAttachment
                                                          : device.attachment(handler.attachmentItem)
    // Something to be reminded of: a text, an attachment, or the quoted
    // chat message itself.
    readonly property bool canSave: handler.content.trim().length > 0 || attachment.kind !== "none"
                                    || handler.quoteMsgItem !== null

    background: Rectangle { color: "transparent" }

    header: RowLayout {
        spacing: 8
        Label {
            Layout.leftMargin: 22
            Layout.topMargin: 16
            Layout.fillWidth: true
            objectName: "editorTitle"
            text: page.editor.isNew ? qsTrId("desk_editor_new_title") : qsTrId("desk_editor_edit_title")
            font.pixelSize: Theme.fontTitle
            font.weight: Font.DemiBold
            color: Theme.text
        }
        ToolButton {
            Layout.topMargin: 10
            Layout.rightMargin: 10
            objectName: "editorCloseButton"
            contentItem: Item { Icon { anchors.centerIn: parent; name: "close"; size: 18; color: Theme.subtle } }
            ToolTip.visible: hovered
            ToolTip.text: qsTrId("desk_editor_close_tooltip")
            onClicked: page.editor.requestClose(null)
        }
    }

    Flickable {
        id: flick
        anchors.fill: parent
        contentHeight: body.implicitHeight + 24
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        ScrollBar.vertical: ScrollBar {}

        ColumnLayout {
            id: body
            x: 22
            y: 10
            width: flick.width - 44
            spacing: 14

            // The quoted chat message.
            Rectangle {
                objectName: "editorQuote"
                visible: page.handler.quoteMsgItem !== null
                Layout.fillWidth: true
                implicitHeight: quoteColumn.implicitHeight + 20
                radius: 8
                color: Theme.quote
                Rectangle { x: 0; width: 4; height: parent.height; radius: 2; color: Theme.accent }
                ColumnLayout {
                    id: quoteColumn
                    anchors.left: parent.left
                    anchors.right: parent.right
                    anchors.verticalCenter: parent.verticalCenter
                    anchors.leftMargin: 16
                    anchors.rightMargin: 12
                    spacing: 3
                    RowLayout {
                        spacing: 6
                        Icon { name: "quote"; size: 15; color: Theme.accent }
                        Label {
                            text: qsTrId("desk_editor_quote_from").arg(page.device.quoteSender(page.handler.quoteMsgItem))
                            font.pixelSize: Theme.fontSmall
                            font.weight: Font.DemiBold
                            color: Theme.subtle
                        }
                    }
                    Label {
                        objectName: "editorQuoteText"
                        Layout.fillWidth: true
                        text: page.device.quoteSummary(page.handler.quoteMsgItem)
                        wrapMode: Text.Wrap
                        maximumLineCount: 3
                        elide: Text.ElideRight
                        font.pixelSize: Theme.fontBase
                        color: Theme.text
                    }
                }
            }

            // The text.
            Rectangle {
                Layout.fillWidth: true
                implicitHeight: 96
                radius: 8
                color: Theme.surface
                border.color: textArea.activeFocus ? Theme.accent : Theme.border
                ScrollView {
                    id: textScroll
                    objectName: "editorTextScroll"
                    anchors.fill: parent
                    anchors.margins: 2
                    // A text longer than the box shows its scroll bar all
                    // the time, not only while it is being scrolled.
                    ScrollBar.vertical.policy: textArea.contentHeight + textArea.topPadding + textArea.bottomPadding
                                               > textScroll.height ? ScrollBar.AlwaysOn : ScrollBar.AsNeeded
                    TextArea {
                        id: textArea
                        objectName: "editorText"
                        text: page.handler.content
                        placeholderText: qsTrId("desk_editor_text_placeholder")
                        wrapMode: TextEdit.Wrap
                        leftPadding: 10
                        rightPadding: 10
                        topPadding: 10
                        bottomPadding: 10
                        font.pixelSize: Theme.fontLarge
                        selectByMouse: true
                        background: Item {}
                        onTextChanged: if (text !== page.handler.content) page.handler.content = text
                        // Tab moves on to the next control (a reminder's
                        // text has no use for tab characters).
                        Keys.onTabPressed: (event) => {
                            nextItemInFocusChain(true).forceActiveFocus(Qt.TabFocusReason)
                            event.accepted = true
                        }
                        Keys.onBacktabPressed: (event) => {
                            nextItemInFocusChain(false).forceActiveFocus(Qt.BacktabFocusReason)
                            event.accepted = true
                        }
                        Component.onCompleted: forceActiveFocus()
                    }
                }
            }

            // The attachment.
            RowLayout {
                Layout.fillWidth: true
                spacing: 10
                Rectangle {
                    visible: page.attachment.kind !== "none"
                    Layout.fillWidth: true
                    implicitHeight: 56
                    radius: 8
                    color: Theme.surfaceAlt
                    border.color: Theme.border
                    RowLayout {
                        anchors.fill: parent
                        anchors.leftMargin: 8
                        anchors.rightMargin: 4
                        spacing: 10
                        Item {
                            implicitWidth: 40
                            implicitHeight: 40
                            Image {
                                anchors.fill: parent
                                visible: page.attachment.thumb !== undefined && page.attachment.thumb !== ""
                                source: visible ? page.attachment.thumb : ""
                                fillMode: Image.PreserveAspectCrop
                                sourceSize.width: 80
                                sourceSize.height: 80
                            }
                            Icon {
                                anchors.centerIn: parent
                                visible: !page.attachment.thumb
                                name: page.attachment.kind === "image" ? "image" : "file"
                                size: 26
                                color: Theme.accent
                            }
                        }
                        ColumnLayout {
                            Layout.fillWidth: true
                            spacing: 1
                            Label {
                                objectName: "editorAttachmentName"
                                Layout.fillWidth: true
                                text: page.attachment.name || ""
                                elide: Text.ElideMiddle
                                font.pixelSize: Theme.fontBase
                                color: Theme.text
                            }
                            Label {
                                text: page.attachment.size || ""
                                font.pixelSize: Theme.fontSmall
                                color: Theme.subtle
                            }
                        }
                        FlatButton {
                            objectName: "removeAttachmentButton"
                            text: qsTrId("desk_editor_remove_attachment")
                            font.pixelSize: Theme.fontBase
                            onClicked: page.edit.removeAttachment()
                        }
                    }
                }
                Button {
                    objectName: "attachButton"
                    visible: page.attachment.kind === "none"
                    flat: true
                    font.pixelSize: Theme.fontBase
                    contentItem: RowLayout {
                        spacing: 6
                        Icon { name: "clip"; size: 18; color: Theme.accent }
                        Label { text: qsTrId("desk_editor_attach"); color: Theme.accent; font.pixelSize: Theme.fontBase }
                    }
                    onClicked: fileDialogLoader.active = true
                }
                Item { Layout.fillWidth: true; visible: page.attachment.kind === "none" }
            }

            Rectangle { Layout.fillWidth: true; implicitHeight: 1; color: Theme.border }

            // When.
            RowLayout {
                Layout.fillWidth: true
                Label {
                    Layout.fillWidth: true
                    text: qsTrId("desk_editor_remind_me")
                    font.pixelSize: Theme.fontLarge
                    font.weight: Font.DemiBold
                    color: Theme.text
                }
                ToggleSwitch {
                    id: timeSwitch
                    objectName: "timeSwitch"
                    checked: page.hasTime
                    onToggled: page.pattern.remindTime = checked ? page.device.suggestedTime() : 0
                }
            }
            Label {
                visible: !page.hasTime
                text: qsTrId("desk_editor_no_time")
                color: Theme.subtle
                font.pixelSize: Theme.fontBase
            }
            Flow {
                visible: page.hasTime
                Layout.fillWidth: true
                spacing: 8
                Repeater {
                    model: { page.device.tick; return page.device.quickTimes() }
                    delegate: Button {
                        required property var modelData
                        required property int index
                        objectName: "quickTime_" + index
                        flat: true
                        checkable: false
                        text: modelData.label
                        font.pixelSize: Theme.fontSmall + 1
                        font.capitalization: Font.MixedCase
                        topInset: 0
                        bottomInset: 0
                        implicitHeight: 32
                        background: Rectangle {
                            radius: 16
                            color: page.pattern.remindTime === modelData.time ? Theme.accentSoft : Theme.surfaceAlt
                            border.color: page.pattern.remindTime === modelData.time ? Theme.accent : Theme.border
                        }
                        onClicked: page.pattern.remindTime = modelData.time
                    }
                }
            }
            RowLayout {
                visible: page.hasTime
                Layout.fillWidth: true
                spacing: 12
                DateField {
                    objectName: "dateField"
                    pane: page.pane
                    value: page.pattern.remindTime
                    onPicked: (dayMs) => page.pattern.remindTime = page.device.combine(
                                  dayMs, page.device.hourOf(page.pattern.remindTime),
                                  page.device.minuteOf(page.pattern.remindTime))
                }
                TimeField {
                    device: page.device
                    value: page.pattern.remindTime
                    onPicked: (ms) => page.pattern.remindTime = ms
                }
                Item { Layout.fillWidth: true }
            }

            // Repeat.
            ItemDelegate {
                id: repeatButton
                objectName: "repeatButton"
                Layout.fillWidth: true
                enabled: page.hasTime
                implicitHeight: 52
                leftPadding: 12
                rightPadding: 8
                background: Rectangle {
                    radius: 8
                    color: repeatButton.hovered ? Theme.surfaceAlt : Theme.surface
                    border.color: Theme.border
                }
                onClicked: page.editor.showRepeatPage()
                contentItem: RowLayout {
                    spacing: 10
                    opacity: repeatButton.enabled ? 1 : 0.5
                    Icon { name: "repeat"; size: 18; color: Theme.accent }
                    Label {
                        text: qsTrId("desk_editor_repeat")
                        font.pixelSize: Theme.fontBase
                        font.weight: Font.DemiBold
                        color: Theme.text
                    }
                    Label {
                        objectName: "editorRepeatText"
                        Layout.fillWidth: true
                        horizontalAlignment: Text.AlignRight
                        text: {
                            const p = page.pattern
                            p.unit; p.dayOfWeekFlags; p.repeatFlag; p.interval; p.monthModel
                            if (p.repeatText.length === 0)
                                return qsTrId("desk_editor_no_repeat")
                            const detail = page.device.ruleDetail(p)
                            return detail.length > 0 ? qsTrId("desk_repeat_words_detail").arg(p.repeatText).arg(detail)
                                                     : p.repeatText
                        }
                        elide: Text.ElideRight
                        font.pixelSize: Theme.fontBase
                        color: Theme.subtle
                    }
                    Icon { name: "chevronRight"; size: 16; color: Theme.subtle }
                }
            }
        }
    }

    footer: Rectangle {
        implicitHeight: 64
        color: Theme.surfaceAlt
        radius: 14
        Rectangle { anchors.top: parent.top; width: parent.width; height: 14; color: Theme.surfaceAlt }
        Rectangle { anchors.top: parent.top; width: parent.width; height: 1; color: Theme.border }
        RowLayout {
            anchors.fill: parent
            anchors.leftMargin: 22
            anchors.rightMargin: 16
            spacing: 8
            Label {
                Layout.fillWidth: true
                text: { page.device.tick; return page.hasTime ? page.device.formatTime(page.pattern.remindTime) : "" }
                color: Theme.subtle
                font.pixelSize: Theme.fontBase
                elide: Text.ElideRight
            }
            FlatButton {
                objectName: "cancelButton"
                text: qsTrId("desk_cancel")
                font.pixelSize: Theme.fontBase
                onClicked: page.editor.finish(false)
            }
            PrimaryButton {
                objectName: "saveButton"
                text: qsTrId("desk_save")
                enabled: page.canSave
                font.pixelSize: Theme.fontBase
                ToolTip.visible: hovered
                ToolTip.text: qsTrId("desk_save_tooltip")
                onClicked: page.editor.finish(true)
            }
        }
    }

    Loader {
        id: fileDialogLoader
        active: false
        sourceComponent: FileDialog {
            objectName: "fileChooser"
            title: qsTrId("desk_editor_attach_title")
            fileMode: FileDialog.OpenFile
            onAccepted: {
                page.edit.attach(selectedFile)
                fileDialogLoader.active = false
            }
            onRejected: fileDialogLoader.active = false
        }
        onLoaded: item.open()
    }
}
