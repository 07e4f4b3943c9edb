import QtQuick
import QtQuick.Controls
import QtTest
import ReminderDesk

// The editor's text box: a long text shows its scroll bar, Tab moves on to
// the next control instead of typing a tab.
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
        name: "EditorText"
        pane: devicePane

        function test_longTextShowsItsScrollBar() {
            startNew("short", "")
            const scroll = inEditor("editorTextScroll")
            compare(scroll.ScrollBar.vertical.policy, ScrollBar.AsNeeded)
            handler.content = "line of a long note\n".repeat(250)
            tryCompare(scroll.ScrollBar.vertical, "policy", ScrollBar.AlwaysOn)
            verify(scroll.ScrollBar.vertical.visible)
            click(inEditor("cancelButton"))
            waitEditorClosed()
        }

        function test_tabMovesFocusOn() {
            startNew("tab away", "")
            const area = inEditor("editorText")
            verify(area.activeFocus)
            keyClick(Qt.Key_Tab)
            compare(handler.content, "tab away")
            verify(!area.activeFocus)
            keyClick(Qt.Key_Backtab, Qt.ShiftModifier)
            tryVerify(() => area.activeFocus)
            compare(handler.content, "tab away")
            click(inEditor("cancelButton"))
            waitEditorClosed()
        }
    }
}
