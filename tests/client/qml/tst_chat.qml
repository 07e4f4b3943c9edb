import QtQuick
import QtTest
import ReminderDesk

// "Remind me about this" on chat messages of several kinds: the editor
// opens on a new reminder quoting the message.
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
        name: "RemindAboutMessage"
        pane: devicePane

        function remindAbout(index) {
            // Scrolled into view, as a person would.
            const chat = named("chatList")
            chat.positionViewAtIndex(index, ListView.Contain)
            chat.forceLayout()
            click(named("remindAbout_" + index))
            waitEditorOpen()
            verify(handler.quoteMsgItem !== null)
            compare(inEditor("editorTitle").text, "New reminder")
        }

        function test_fileMessage() {
            remindAbout(1)
            compare(inEditor("editorQuoteText").text, "Quarterly report.pdf")
            inEditor("editorText").forceActiveFocus()
            typeText("review the report")
            click(inEditor("timeSwitch"))
            click(quickTime("Tomorrow morning"))
            click(inEditor("saveButton"))
            waitEditorClosed()
            const row = rowOf(rowAt(indexOfText("review the report")).remindId)
            compare(findChild(row, "rowQuoteSender").text, "Anna Berg")
            compare(findChild(row, "rowQuoteText").text, "Quarterly report.pdf")
        }

        function test_fileMessageSavedWithoutText() {
            const before = model.count
            remindAbout(1)
            // The quoted file is enough to be reminded of.
            compare(handler.content, "")
            verify(inEditor("saveButton").enabled)
            click(inEditor("saveButton"))
            waitEditorClosed()
            tryCompare(model, "count", before + 1)
            let quoted = 0
            for (let i = 0; i < model.count; ++i) {
                const row = rowAt(i)
                if (rowText(row) === "" && findChild(row, "rowQuoteText").text === "Quarterly report.pdf")
                    ++quoted
            }
            compare(quoted, 1)
        }

        function test_textMessage() {
            remindAbout(0)
            // The quoted text becomes the reminder's text.
            compare(handler.content, "Can you send me the slides before Friday's review?")
            compare(inEditor("editorQuoteText").text, "Can you send me the slides before Friday's review?")
            click(inEditor("saveButton"))
            waitEditorClosed()
            const row = rowAt(indexOfText("Can you send me the slides before Friday's review?"))
            compare(findChild(row, "rowQuoteSender").text, "Li Wei")
        }

        function test_cardAndPoll() {
            remindAbout(2)
            compare(inEditor("editorQuoteText").text, "Contact card: Dr. Chen (dentist)")
            inEditor("editorText").forceActiveFocus()
            typeText("book the dentist")
            click(inEditor("saveButton"))
            waitEditorClosed()
            compare(findChild(rowAt(indexOfText("book the dentist")), "rowQuoteSender").text, "Tom Okafor")

            remindAbout(3)
            compare(inEditor("editorQuoteText").text, "Poll: Team lunch on Thursday: where shall we go?")
            // A poll's title is the reminder's text.
            compare(handler.content, "Team lunch on Thursday: where shall we go?")
            click(inEditor("saveButton"))
            waitEditorClosed()
            const row = rowAt(indexOfText("Team lunch on Thursday: where shall we go?"))
            compare(findChild(row, "rowQuoteText").text, "Poll: Team lunch on Thursday: where shall we go?")
        }
    }
}
