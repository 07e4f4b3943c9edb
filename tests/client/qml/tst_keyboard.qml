import QtQuick
import QtQuick.Controls
import QtTest
import ReminderDesk

// The keyboard alone: a new reminder (Ctrl+N), saved with Ctrl+Enter;
// search (Ctrl+F); moving through the list with the arrows, opening with
// Enter, completing with Space; the shortcuts overlay (F1).
Item {
    width: 980
    height: 700

    DevicePane {
        id: devicePane
        anchors.fill: parent
        device: testDevice
        desk: testDesk
    }

    ClientTestCase {
        name: "Keyboard"
        pane: devicePane

        function test_keyboardOnly() {
            // Ctrl+N opens a new reminder's editor, the text box has focus.
            keyClick(Qt.Key_N, Qt.ControlModifier)
            waitEditorOpen()
            tryVerify(() => inEditor("editorText").activeFocus)
            typeText("pay the rent")
            keyClick(Qt.Key_Return, Qt.ControlModifier)
            waitEditorClosed()
            tryCompare(model, "count", 1)
            tryVerify(() => support.storedTexts().indexOf("pay the rent") >= 0, 10000)

            quickAdd("water the plants")
            tryCompare(model, "count", 2)

            // Ctrl+F puts the caret in the search field.
            keyClick(Qt.Key_F, Qt.ControlModifier)
            tryVerify(() => named("searchField").activeFocus)

            // Into the list: the arrows move, Space completes, Enter opens.
            list.forceActiveFocus()
            tryCompare(list, "currentIndex", 0)
            const first = list.currentItem.remindId
            keyClick(Qt.Key_Down)
            compare(list.currentIndex, 1)
            keyClick(Qt.Key_Up)
            compare(list.currentIndex, 0)
            keyClick(Qt.Key_Space)
            verify(rowOf(first).completed)
            // The Undo toast's time is up.
            testDevice.undo.commit()
            tryVerify(() => testDevice.itemById(first).completed)
            list.forceActiveFocus()
            list.currentIndex = 0
            const opened = list.currentItem.remindId
            keyClick(Qt.Key_Return)
            waitEditorOpen()
            compare(handler.content, testDevice.bodyText(testDevice.itemById(opened)))
            keyClick(Qt.Key_Escape)
            waitEditorClosed()

            // F1 lists the shortcuts; Esc closes the list.
            keyClick(Qt.Key_F1)
            const overlay = named("shortcutsOverlay")
            tryCompare(overlay, "opened", true)
            compare(findChild(overlay.contentItem, "shortcutKeys_0").text, "Ctrl+N")
            keyClick(Qt.Key_Escape)
            tryCompare(overlay, "visible", false)
        }

        function test_saveShortcutDoesNothingWhileSaveCannot() {
            keyClick(Qt.Key_N, Qt.ControlModifier)
            waitEditorOpen()
            verify(!inEditor("saveButton").enabled)
            keyClick(Qt.Key_Return, Qt.ControlModifier)
            verify(editor.opened)
            click(inEditor("cancelButton"))
            waitEditorClosed()
        }

        function test_tabShowsWhereTheKeyboardIs() {
            const field = named("quickAddField")
            field.forceActiveFocus()
            // Add is disabled with an empty field: Tab goes on to New.
            keyClick(Qt.Key_Tab)
            const newButton = named("newButton")
            tryVerify(() => newButton.activeFocus)
            verify(newButton.visualFocus)
            // Its ring shows.
            verify(newButton.background.children[0].visible)
            keyClick(Qt.Key_Tab, Qt.ShiftModifier)
            tryVerify(() => field.activeFocus)
            verify(!newButton.background.children[0].visible)
        }
    }
}
