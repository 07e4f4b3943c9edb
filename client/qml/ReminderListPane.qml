import QtQuick
import QtQuick.Controls
import QtQuick.Controls.Material
import QtQuick.Layouts

// The reminder list: quick add, counts, the completed section's toggle,
// the rows (open and completed, or search results) and the selection bar.
Item {
    id: listPane

    required property var pane
    readonly property var handler: pane.handler
    readonly property var mainModel: handler.reminderModel
    readonly property bool loaded: pane.device.loaded
    property alias view: list
    // Enter (or Add) was pressed while the stored reminders were still
    // being read: the field's text is added once they are in. The text
    // stays in the field until then, so nothing typed is lost, and one
    // add waits however often Enter was pressed.
    property bool addWhenLoaded: false

    function addQuick() {
        const text = quickAdd.text.trim()
        if (text.length === 0)
            return
        if (!listPane.loaded) {
            addWhenLoaded = true
            return
        }
        addWhenLoaded = false
        listPane.handler.newReminder(text)
        quickAdd.clear()
    }

    Connections {
        target: listPane.pane.device
        function onLoadedChanged() {
            if (listPane.loaded && listPane.addWhenLoaded)
                listPane.addQuick()
        }
    }

    // The first row from `from` on, in the direction `step`, that is not
    // hidden; -1 when none.
    function visibleRowFrom(from, step) {
        for (let i = from; i >= 0 && i < list.count; i += step) {
            const row = list.itemAtIndex(i)
            if (!row) {
                list.positionViewAtIndex(i, ListView.Contain)
                const made = list.itemAtIndex(i)
                if (made && !made.hidden)
                    return i
                continue
            }
            if (!row.hidden)
                return i
        }
        return -1
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.leftMargin: 20
        anchors.rightMargin: 20
        anchors.topMargin: 16
        spacing: 10

        // Quick add and the full editor.
        RowLayout {
            Layout.fillWidth: true
            spacing: 8

            TextField {
                id: quickAdd
                objectName: "quickAddField"
                Layout.fillWidth: true
                Layout.preferredHeight: 44
                leftPadding: 40
                placeholderText: qsTrId("desk_quick_add_placeholder")
                font.pixelSize: Theme.fontLarge
                selectByMouse: true
                background: Rectangle {
                    radius: Theme.radius
                    color: Theme.surface
                    border.color: quickAdd.activeFocus ? Theme.accent : Theme.border
                }
                Icon {
                    anchors.left: parent.left
                    anchors.leftMargin: 12
                    anchors.verticalCenter: parent.verticalCenter
                    name: "plus"
                    size: 20
                    color: Theme.accent
                }
                // Enter does what the Add button does, and only when it could.
                onAccepted: if (addButton.enabled) addButton.clicked()
                // Emptied: nothing is left to add.
                onTextChanged: if (text.trim().length === 0) listPane.addWhenLoaded = false
            }
            FlatButton {
                id: addButton
                objectName: "addButton"
                text: qsTrId("desk_add")
                // While loading it takes the text in for later (addQuick).
                enabled: quickAdd.text.trim().length > 0 && !(listPane.addWhenLoaded && !listPane.loaded)
                font.pixelSize: Theme.fontBase
                onClicked: listPane.addQuick()
            }
            PrimaryButton {
                objectName: "newButton"
                enabled: listPane.pane.device.loaded
                ToolTip.visible: hovered
                ToolTip.text: qsTrId("desk_new_tooltip")
                text: qsTrId("desk_new_with_details")
                font.pixelSize: Theme.fontBase
                onClicked: {
                    listPane.pane.openNewEditor(quickAdd.text.trim())
                    quickAdd.clear()
                }
            }
        }

        Label {
            objectName: "quickAddWaiting"
            Layout.fillWidth: true
            visible: listPane.addWhenLoaded && !listPane.loaded
            text: qsTrId("desk_quick_add_waiting")
            color: Theme.subtle
            font.pixelSize: Theme.fontSmall
            elide: Text.ElideRight
        }

        // Counts and the overdue badge on the left, the drag hint on the
        // right. Deliberate: positioned by anchors, not a RowLayout (Qt
        // 6.4's layouts kept the counts' stale width when their text grew,
        // and the hint was drawn over them).
        Item {
            Layout.fillWidth: true
            implicitHeight: counts.implicitHeight

            Row {
                id: counts
                anchors.left: parent.left
                anchors.verticalCenter: parent.verticalCenter
                spacing: 8

                Label {
                    objectName: "countsLabel"
                    anchors.verticalCenter: parent.verticalCenter
                    // Until the reminders are in there is nothing to count
                    // ("0 open" would be wrong).
                    visible: !listPane.pane.searching && listPane.loaded
                    readonly property int hiddenOpen: listPane.pane.device.undo.revision >= 0
                                                      ? listPane.pane.device.undo.hiddenCount(false) : 0
                    readonly property int hiddenCompleted: listPane.pane.device.undo.revision >= 0
                                                           ? listPane.pane.device.undo.hiddenCount(true) : 0
                    text: qsTrId("desk_count_open", listPane.mainModel.count - listPane.mainModel.completedCount - hiddenOpen)
                          + "  ·  " + qsTrId("desk_count_completed", listPane.mainModel.completedCount - hiddenCompleted)
                    color: Theme.subtle
                    font.pixelSize: Theme.fontBase
                }
                Label {
                    objectName: "resultsLabel"
                    anchors.verticalCenter: parent.verticalCenter
                    visible: listPane.pane.searching
                    text: qsTrId("desk_search_results", listPane.handler.searchModel.count)
                    color: Theme.subtle
                    font.pixelSize: Theme.fontBase
                }
                Pill {
                    objectName: "overdueBadge"
                    anchors.verticalCenter: parent.verticalCenter
                    visible: listPane.handler.uncompleteOverdueCount > 0
                    text: qsTrId("desk_overdue_badge", listPane.handler.uncompleteOverdueCount)
                    color: Theme.dangerSoft
                    textColor: Theme.danger
                }
            }
            Label {
                objectName: "dragHint"
                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                // What is left beside the counts; elided when it does not fit.
                width: Math.min(implicitWidth, Math.max(0, parent.width - counts.width - 16))
                horizontalAlignment: Text.AlignRight
                elide: Text.ElideRight
                visible: !listPane.pane.searching && !listPane.pane.selecting && listPane.mainModel.count > 1
                text: qsTrId("desk_drag_hint")
                color: Theme.faint
                font.pixelSize: Theme.fontSmall
            }
        }

        DraftBar {
            Layout.fillWidth: true
            pane: listPane.pane
        }

        SelectionBar {
            Layout.fillWidth: true
            visible: listPane.pane.selecting
            pane: listPane.pane
        }

        // The completed section's toggle; completed reminders are listed
        // right under it when it is open.
        ItemDelegate {
            id: completedToggle
            objectName: "completedToggle"
            Layout.fillWidth: true
            Layout.preferredHeight: 38
            visible: !listPane.pane.searching && listPane.mainModel.completedCount > 0
            leftPadding: 10
            background: Rectangle {
                radius: 8
                color: completedToggle.hovered ? Theme.border : Theme.surfaceAlt
                border.width: completedToggle.visualFocus ? 2 : 0
                border.color: Theme.accent
            }
            onClicked: listPane.mainModel.expand = !listPane.mainModel.expand
            contentItem: RowLayout {
                spacing: 8
                Icon {
                    name: listPane.mainModel.expand ? "chevronDown" : "chevronRight"
                    size: 16
                    color: Theme.subtle
                }
                Label {
                    text: listPane.mainModel.expand
                          ? qsTrId("desk_completed_hide", listPane.mainModel.completedCount)
                          : qsTrId("desk_completed_show", listPane.mainModel.completedCount)
                    color: Theme.subtle
                    font.pixelSize: Theme.fontBase
                    font.weight: Font.DemiBold
                }
                Item { Layout.fillWidth: true }
                FlatButton {
                    objectName: "deleteAllCompletedButton"
                    tint: Theme.danger
                    text: qsTrId("desk_delete_completed")
                    visible: !listPane.pane.selecting
                    onClicked: listPane.pane.askConfirm(qsTrId("desk_confirm_delete_completed", listPane.mainModel.completedCount),
                                           () => listPane.pane.device.undo.removeAllCompleted(false))
                }
            }
        }

        ListView {
            id: list
            objectName: "reminderList"
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            // The gap between rows is each row's own (a hidden row has
            // none, so it leaves no gap either).
            spacing: 0
            // Deliberate: the list is given to the view once the device's
            // reminders are in. Loading announces its rows loosely (all of
            // them, even completed ones that are not shown), which a view
            // that is already attached takes for rows that do not exist.
            model: listPane.pane.device.loaded ? listPane.pane.shownModel : null
            bottomMargin: 16
            boundsBehavior: Flickable.StopAtBounds
            ScrollBar.vertical: ScrollBar {}
            // The keyboard: arrows move through the rows, Enter opens the
            // current one, Space completes (or reopens) it.
            activeFocusOnTab: true
            keyNavigationEnabled: true
            highlightFollowsCurrentItem: false
            currentIndex: -1
            Keys.onPressed: (event) => {
                const row = list.currentItem
                if (!row || listPane.pane.selecting)
                    return
                if (event.key === Qt.Key_Return || event.key === Qt.Key_Enter) {
                    listPane.pane.openEditor(row.remindId)
                    event.accepted = true
                } else if (event.key === Qt.Key_Space) {
                    row.toggleCompleted()
                    event.accepted = true
                } else if (event.key === Qt.Key_Delete) {
                    const at = list.currentIndex
                    row.deleteRow()
                    list.currentIndex = listPane.visibleRowFrom(at + 1, 1) >= 0 ? listPane.visibleRowFrom(at + 1, 1)
                                                                                : listPane.visibleRowFrom(at - 1, -1)
                    event.accepted = true
                } else if (event.key === Qt.Key_Down || event.key === Qt.Key_Up) {
                    // Hidden rows (deleted, waiting for Undo) are passed over.
                    const step = event.key === Qt.Key_Down ? 1 : -1
                    const next = listPane.visibleRowFrom(list.currentIndex + step, step)
                    if (next >= 0)
                        list.currentIndex = next
                    event.accepted = true
                }
            }
            onActiveFocusChanged: if (activeFocus && currentIndex < 0 && count > 0) currentIndex = 0
            delegate: ReminderRow {
                // A gutter on the right for the scroll bar.
                width: ListView.view.width - 12
                pane: listPane.pane
            }
            moveDisplaced: Transition {
                NumberAnimation { properties: "y"; duration: 120 }
            }

            Column {
                objectName: "loadingState"
                anchors.centerIn: parent
                spacing: 12
                visible: !listPane.loaded
                Icon {
                    anchors.horizontalCenter: parent.horizontalCenter
                    name: "bell"
                    size: 44
                    lineWidth: 1.4
                    color: Theme.faint
                }
                Label {
                    anchors.horizontalCenter: parent.horizontalCenter
                    text: qsTrId("desk_list_loading")
                    color: Theme.subtle
                    font.pixelSize: Theme.fontLarge
                }
            }

            Column {
                objectName: "emptyState"
                anchors.centerIn: parent
                spacing: 8
                // Only once loaded: before, an empty list says nothing.
                visible: listPane.loaded && list.count === 0
                Icon {
                    anchors.horizontalCenter: parent.horizontalCenter
                    name: listPane.pane.searching ? "search" : "bell"
                    size: 44
                    lineWidth: 1.4
                    color: Theme.faint
                }
                Label {
                    anchors.horizontalCenter: parent.horizontalCenter
                    text: listPane.pane.searching ? qsTrId("desk_search_empty") : qsTrId("desk_list_empty")
                    color: Theme.subtle
                    font.pixelSize: Theme.fontLarge
                }
                Label {
                    anchors.horizontalCenter: parent.horizontalCenter
                    visible: !listPane.pane.searching
                    text: qsTrId("desk_list_empty_hint")
                    color: Theme.faint
                    font.pixelSize: Theme.fontBase
                }
            }
        }
    }
}
