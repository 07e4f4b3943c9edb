import QtQuick
import QtTest
import ReminderDesk

// Search as you type: the list shows the handler's search results.
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
        name: "Search"
        pane: devicePane

        function test_searchAsYouType() {
            quickAdd("buy milk")
            quickAdd("call the plumber")
            quickAdd("buy stamps")
            support.settle()
            compare(list.count, 3)

            const field = named("searchField")
            field.forceActiveFocus()
            typeText("buy")
            verify(devicePane.searching)
            tryCompare(handler.searchModel, "count", 2)
            tryCompare(list, "count", 2)
            compare(list.model, handler.searchModel)
            const texts = [rowText(rowAt(0)), rowText(rowAt(1))].sort()
            compare(texts, ["buy milk", "buy stamps"])
            compare(named("resultsLabel").text, "2 results")

            // One more letter narrows it.
            typeText(" s")
            tryCompare(handler.searchModel, "count", 1)
            tryCompare(list, "count", 1)
            compare(rowText(rowAt(0)), "buy stamps")

            // Nothing matches.
            typeText("x")
            tryCompare(list, "count", 0)

            // Cleared: the whole list again.
            click(named("clearSearchButton"))
            verify(!devicePane.searching)
            tryCompare(list, "count", 3)
            compare(list.model, model)
        }
    }
}
