import QtQuick
import QtQuick.Controls
import QtQuick.Controls.Material

// The reminder editor: the reminder's page and its repeat page, over the
// window. Saving calls the handler's syncReminder, anything else cancel.
Popup {
    id: popup
    objectName: "editorPopup"

    required property var pane
    readonly property var handler: pane.handler
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
    closePolicy: Popup.CloseOnEscape

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
        if (save)
            popup.handler.syncReminder()
        else
            popup.handler.cancel()
        popup.close()
    }

    // Ctrl+Enter saves from anywhere in the editor, when Save could.
    Shortcut {
        sequences: ["Ctrl+Return", "Ctrl+Enter"]
        enabled: popup.opened && stack.depth === 1 && stack.currentItem && stack.currentItem.canSave
        onActivated: popup.finish(true)
    }

    onClosed: {
        if (!popup.finished) {
            popup.finished = true
            popup.handler.cancel()
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
