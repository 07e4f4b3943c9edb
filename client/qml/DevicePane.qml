import QtQuick
import QtQuick.Controls
import QtQuick.Controls.Material
import QtQuick.Layouts

// Everything one device shows: the header, the reminder list, the chat,
// the banners of fired reminders, the editor and toasts.
Item {
    id: pane
    objectName: "devicePane"

    required property var device
    required property var desk
    readonly property var handler: device.handler
    readonly property var model: handler.reminderModel

    property bool selecting: false
    // Below this width the chat pane is folded away.
    readonly property int chatFoldWidth: 900
    readonly property bool chatFolded: width < chatFoldWidth
    readonly property bool searching: header.searchText.length > 0
    readonly property var shownModel: searching ? handler.searchModel : handler.reminderModel

    Material.theme: Material.Light
    Material.accent: Theme.accent
    Material.primary: Theme.accent

    Rectangle {
        anchors.fill: parent
        color: Theme.background
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        AppHeader {
            id: header
            Layout.fillWidth: true
            pane: pane
        }

        // The list, and the chat beside it. The chat folds away first when
        // the window is narrow: the list keeps at least its own width.
        // Deliberate: anchors, not a RowLayout (Qt 6.4's layouts kept
        // stale sizes when the chat's width changed).
        Item {
            Layout.fillWidth: true
            Layout.fillHeight: true

            ReminderListPane {
                id: listPane
                objectName: "reminderListPane"
                anchors.left: parent.left
                anchors.top: parent.top
                anchors.bottom: parent.bottom
                anchors.right: separator.left
                pane: pane
            }

            Rectangle {
                id: separator
                anchors.top: parent.top
                anchors.bottom: parent.bottom
                anchors.right: chatPane.left
                width: pane.chatFolded ? 0 : 1
                color: Theme.border
            }

            ChatPane {
                id: chatPane
                objectName: "chatPane"
                anchors.top: parent.top
                anchors.bottom: parent.bottom
                anchors.right: parent.right
                width: pane.chatFolded ? 0 : 300
                clip: true
                enabled: !pane.chatFolded
                opacity: pane.chatFolded ? 0 : 1
                pane: pane
            }
        }
    }

    // Bottom right, above the toasts: over the chat rather than the list's
    // own buttons at the top.
    BannerStack {
        anchors.bottom: parent.bottom
        anchors.right: parent.right
        anchors.bottomMargin: 90
        anchors.rightMargin: 14
        pane: pane
    }

    // In the window's overlay, above every dialog and the editor: a toast
    // often speaks of what was just done in one of them.
    // Toasts sit at the bottom; while the editor is open, at the top, so
    // that they do not cover its Save and Cancel.
    readonly property real toastBase: editor.opened || editor.visible ? 14 + undoToast.height + 10
                                                                      : pane.height - 28
    Toast {
        id: toast
        parent: pane.Overlay.overlay
        z: 1000
        anchors.horizontalCenter: parent ? parent.horizontalCenter : undefined
        y: editor.opened || editor.visible ? (undoToast.visible ? pane.toastBase : 14)
                                           : pane.toastBase - height - (undoToast.visible ? undoToast.height + 10 : 0)
    }
    UndoToast {
        id: undoToast
        parent: pane.Overlay.overlay
        z: 1000
        undo: pane.device.undo
        anchors.horizontalCenter: parent ? parent.horizontalCenter : undefined
        y: editor.opened || editor.visible ? 14 : pane.height - 28 - height
    }

    EditorPopup {
        id: editor
        pane: pane
    }

    // ---- The keyboard (docs/client.md lists every shortcut)

    Shortcut {
        sequences: ["Ctrl+N"]
        enabled: !editor.opened && pane.device.loaded
        onActivated: pane.openNewEditor("")
    }
    Shortcut {
        sequences: ["Ctrl+F"]
        enabled: !editor.opened
        onActivated: header.focusSearch()
    }
    Shortcut {
        sequences: [StandardKey.Undo]
        enabled: !editor.opened && pane.device.undo.pending
        onActivated: pane.device.undo.undo()
    }
    Shortcut {
        sequences: ["F1", "Ctrl+/"]
        enabled: !editor.opened
        onActivated: shortcutsOverlay.open()
    }

    ShortcutsOverlay {
        id: shortcutsOverlay
    }

    // The one question before a bulk deletion.
    ConfirmDialog {
        id: confirmDialog
    }
    function askConfirm(message, action) { confirmDialog.ask(message, action) }

    Connections {
        target: pane.device
        function onToast(text) { toast.show(text) }
    }

    Binding {
        target: pane.device
        property: "windowActive"
        value: pane.Window.active
    }

    // ---- Entry points (also used by the scripted tour and the tests)

    // Each opens the editor unless it is open already (a second click of a
    // double click opens nothing more).
    // Opens the editor on an existing reminder.
    function openEditor(remindId) {
        if (editor.opened || pane.device.edit.open)
            return
        if (pane.device.edit.startExisting(remindId))
            editor.openFor(false)
    }
    // The editor of a new reminder with the text; nothing is stored until
    // it is saved.
    function openNewEditor(text) {
        if (editor.opened || pane.device.edit.open || !pane.device.loaded)
            return
        pane.device.edit.startNew(text)
        editor.openFor(true)
    }
    // "Remind me about this" for a chat message.
    function remindAbout(index) {
        if (editor.opened || pane.device.edit.open || !pane.device.loaded)
            return
        pane.device.edit.startQuote(index)
        editor.openFor(true)
    }
    // The edit an earlier run left open, as it was.
    function restoreDraft() {
        if (editor.opened || pane.device.edit.open || !pane.device.loaded)
            return
        if (pane.device.edit.restoreDraft())
            editor.openFor(pane.device.edit.kind !== "existing")
    }
    function showRepeatPage() { editor.showRepeatPage() }
    function closeEditor(save) { editor.finish(save) }
    // The window is about to close: true when it may. An edit with changes
    // asks Save / Discard / Cancel first, and `then` closes it afterwards.
    function confirmClose(then) {
        if (!editor.opened)
            return true
        return editor.requestClose(then)
    }
    function setSearchText(text) { header.searchText = text }
    function showShortcuts() { shortcutsOverlay.open() }
    function setSelecting(on) {
        if (!on)
            pane.handler.clearSelect()
        pane.selecting = on
    }
    readonly property alias editorOpen: editor.opened
    readonly property alias editorBusy: editor.busy
    readonly property alias editorPopup: editor
    readonly property alias reminderList: listPane.view
}
