import QtQuick
import QtQuick.Controls
import QtQuick.Controls.Material

// The reminder editor: the reminder's page and its repeat page, over the
// window. The device's edit (DeskEdit) saves or discards; Esc and the
// close button ask first when something was changed.
Popup {
    id: popup
    objectName: "editorPopup"

    required property var pane
    readonly property var handler: pane.handler
    readonly property var edit: pane.device.edit
    property bool isNew: false
    property bool finished: true
    readonly property bool busy: stack.busy

    parent: Overlay.overlay
    anchors.centerIn: parent
    width: Math.min(700, parent ? parent.width - 40 : 700)
    height: Math.min(640, parent ? parent.height - 40 : 640)
    modal: true
    focus: true
    padding: 0
    closePolicy: Popup.NoAutoClose

    // A popup lives in the window's overlay: it takes the theme itself.
    Material.theme: Material.Light
    Material.accent: Theme.accent
    Material.primary: Theme.accent

    background: Rectangle {
        radius: 14
        color: Theme.surface
        border.color: Theme.border
    }

    contentItem: StackView {
        id: stack
        clip: true
    }

    function openFor(newReminder) {
        popup.isNew = newReminder
        popup.finished = false
        stack.clear(StackView.Immediate)
        stack.push(editorPage, {}, StackView.Immediate)
        popup.open()
    }
    function showRepeatPage() {
        // Pages change at once: no sliding (it also keeps software
        // rendering, as in the tour, free of stale pixels).
        if (stack.depth === 1)
            stack.push(repeatPage, {}, StackView.Immediate)
    }
    function backToEditor() {
        if (stack.depth > 1)
            stack.pop(StackView.Immediate)
    }
    function finish(save) {
        if (popup.finished)
            return
        popup.finished = true
        if (save) {
            popup.edit.save()
            // Not saved (its file is gone): the editor stays, a toast says why.
            if (popup.edit.open) {
                popup.finished = false
                return
            }
        } else {
            popup.edit.discard()
        }
        popup.close()
    }
    // Esc and the close button: closes at once when nothing changed, else
    // asks Save / Discard / Cancel; `then` runs once the editor is closed.
    function requestClose(then) {
        if (popup.finished)
            return true
        if (!popup.edit.changed) {
            popup.finish(false)
            if (then)
                then()
            return true
        }
        unsaved.ask(popup.isNew, popup.canSave, (save) => {
            popup.finish(save)
            if (then)
                then()
        })
        return false
    }
    readonly property bool canSave: stack.depth > 0 && stack.get(0) && stack.get(0).canSave === true

    // Ctrl+Enter saves from anywhere in the editor, when Save could.
    Shortcut {
        sequences: ["Ctrl+Return", "Ctrl+Enter"]
        enabled: popup.opened && stack.depth === 1 && !!stack.currentItem && stack.currentItem.canSave === true
        onActivated: popup.finish(true)
    }

    // Esc: back from the repeat page, else close (asking when changed).
    Shortcut {
        sequences: [StandardKey.Cancel]
        enabled: popup.opened && !unsaved.opened
        onActivated: {
            if (stack.depth > 1)
                popup.backToEditor()
            else
                popup.requestClose(null)
        }
    }

    UnsavedDialog {
        id: unsaved
    }
    readonly property alias unsavedDialog: unsaved

    onClosed: {
        if (!popup.finished) {
            popup.finished = true
            popup.edit.discard()
        }
        stack.clear(StackView.Immediate)
    }

    Component {
        id: editorPage
        EditorPage {
            editor: popup
            pane: popup.pane
        }
    }
    Component {
        id: repeatPage
        RepeatPage {
            editor: popup
            pane: popup.pane
        }
    }
}
