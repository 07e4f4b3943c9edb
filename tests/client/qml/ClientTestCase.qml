import QtQuick
import QtTest

// What every client scenario shares: finding the interface's parts by
// their object names, typing, and the waits (each waits for a condition).
TestCase {
    id: testCase

    property var pane: null
    readonly property var handler: testDevice.handler
    readonly property var model: handler.reminderModel
    readonly property var list: pane ? pane.reminderList : null
    readonly property var editor: pane ? pane.editorPopup : null

    when: windowShown

    function named(name, from) {
        const found = findChild(from ? from : pane, name)
        verify(found !== null, "no object named " + name)
        return found
    }
    function inEditor(name) {
        return named(name, editor.contentItem)
    }
    function typeText(text) {
        for (let i = 0; i < text.length; ++i)
            keyClick(text.charAt(i))
    }
    // Lets pending layouts (positioners, layouts, list views) place the
    // item and everything around it.
    function settleLayout(item) {
        if (list)
            list.forceLayout()
        for (let p = item; p; p = p.parent) {
            if (isPolishScheduled(p))
                waitForItemPolished(p)
        }
    }
    function click(item) {
        verify(item.visible, (item.objectName || "item") + " is not visible")
        verify(item.enabled, (item.objectName || "item") + " is not enabled")
        settleLayout(item)
        mouseClick(item)
    }
    // Types into the quick-add field and presses Enter; returns the new id.
    function quickAdd(text) {
        const before = model.count
        const field = named("quickAddField")
        field.forceActiveFocus()
        typeText(text)
        keyClick(Qt.Key_Return)
        tryCompare(model, "count", before + 1)
        return rowAt(indexOfText(text)).remindId
    }
    // The row delegate at a list row, once the view has made it.
    function rowAt(index) {
        tryVerify(() => {
            list.forceLayout()
            return list.itemAtIndex(index) !== null
        }, 5000, "no row " + index)
        return list.itemAtIndex(index)
    }
    function rowText(row) {
        return findChild(row, "rowText").text
    }
    // The list row showing that text (-1 when none).
    function indexOfText(text) {
        let found = -1
        tryVerify(() => {
            list.forceLayout()
            for (let i = 0; i < list.count; ++i) {
                const row = list.itemAtIndex(i)
                if (row && rowText(row) === text) {
                    found = i
                    return true
                }
            }
            return false
        }, 5000, "no row shows " + text)
        return found
    }
    function rowOf(remindId) {
        tryVerify(() => {
            list.forceLayout()
            for (let i = 0; i < list.count; ++i) {
                const row = list.itemAtIndex(i)
                if (row && row.remindId === remindId)
                    return true
            }
            return false
        }, 5000, "no row for " + remindId)
        for (let i = 0; i < list.count; ++i) {
            const row = list.itemAtIndex(i)
            if (row && row.remindId === remindId)
                return row
        }
        return null
    }
    function waitEditorOpen() {
        tryCompare(editor, "opened", true)
    }
    function waitEditorClosed() {
        tryCompare(editor, "visible", false)
    }
    // The quick time choice with that label in the editor.
    function quickTime(label) {
        for (let i = 0; i < 6; ++i) {
            const chip = findChild(editor.contentItem, "quickTime_" + i)
            if (chip && chip.text === label)
                return chip
        }
        fail("no quick time " + label)
        return null
    }
    // Opens the full editor of a new reminder, types its text and picks a
    // quick time; the editor stays open.
    function startNew(text, timeLabel) {
        click(named("newButton"))
        waitEditorOpen()
        const area = inEditor("editorText")
        area.forceActiveFocus()
        typeText(text)
        compare(handler.content, text)
        if (timeLabel) {
            click(inEditor("timeSwitch"))
            verify(handler.reminderPattern.remindTime > 0)
            click(quickTime(timeLabel))
        }
    }
}
