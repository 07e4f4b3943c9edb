import QtQuick
import QtQuick.Shapes

// A line icon drawn from a path on a 24 x 24 grid.
Item {
    id: icon

    property string name
    property color color: Theme.text
    property real size: 20
    property real lineWidth: 1.9

    implicitWidth: size
    implicitHeight: size

    readonly property var paths: ({
        "plus": "M12 5 L12 19 M5 12 L19 12",
        "close": "M6.5 6.5 L17.5 17.5 M17.5 6.5 L6.5 17.5",
        "check": "M5 12.5 L10 17.5 L19 7",
        "search": "M10.5 4 A6.5 6.5 0 1 1 10.49 4 M15.3 15.3 L20 20",
        "bell": "M6 16.5 L6 11 A6 6 0 0 1 18 11 L18 16.5 L19.5 18 L4.5 18 Z M10 20.5 L14 20.5",
        "sync": "M19.5 12 A7.5 7.5 0 0 1 6 16.6 M4.5 12 A7.5 7.5 0 0 1 18 7.4 M18.6 3.6 L18.2 7.6 L14.2 7.2 M5.4 20.4 L5.8 16.4 L9.8 16.8",
        "clip": "M16.5 8.5 L9.5 15.5 A1.8 1.8 0 0 1 7 13 L14.5 5.5 A3.5 3.5 0 0 1 19.5 10.5 L11.5 18.5 A5.2 5.2 0 0 1 4.2 11.1 L10.5 4.8",
        "drag": "M8 6 L8.01 6 M16 6 L16.01 6 M8 12 L8.01 12 M16 12 L16.01 12 M8 18 L8.01 18 M16 18 L16.01 18",
        "trash": "M4.5 7 L19.5 7 M9.5 7 L9.5 4.5 L14.5 4.5 L14.5 7 M6.5 7 L7.5 19.5 L16.5 19.5 L17.5 7 M10.5 10.5 L10.5 16 M13.5 10.5 L13.5 16",
        "repeat": "M4.5 11 A6.5 6.5 0 0 1 11 5 L18 5 M15.5 2.5 L18 5 L15.5 7.5 M19.5 13 A6.5 6.5 0 0 1 13 19 L6 19 M8.5 16.5 L6 19 L8.5 21.5",
        "clock": "M12 3.5 A8.5 8.5 0 1 1 11.99 3.5 M12 7.5 L12 12 L15 14",
        "chevronDown": "M6 9.5 L12 15.5 L18 9.5",
        "chevronRight": "M9.5 6 L15.5 12 L9.5 18",
        "back": "M14.5 6 L8.5 12 L14.5 18",
        "checklist": "M4 6.5 L5.8 8.3 L8.8 5 M12 6.5 L20 6.5 M4 12.5 L5.8 14.3 L8.8 11 M12 12.5 L20 12.5 M5 18.5 L8 18.5 M12 18.5 L20 18.5",
        "globe": "M12 3.5 A8.5 8.5 0 1 1 11.99 3.5 M3.5 12 L20.5 12 M12 3.5 A13 13 0 0 1 12 20.5 M12 3.5 A13 13 0 0 0 12 20.5",
        "chat": "M4.5 5.5 L19.5 5.5 L19.5 16 L10 16 L6 19.5 L6 16 L4.5 16 Z",
        "file": "M6.5 3.5 L14 3.5 L18.5 8 L18.5 20.5 L6.5 20.5 Z M13.5 3.5 L13.5 8.5 L18.5 8.5",
        "image": "M4 5 L20 5 L20 19 L4 19 Z M4 16 L9 11 L13 15 L15.5 12.5 L20 17 M15.5 8.5 L15.51 8.5",
        "person": "M12 4 A3.8 3.8 0 1 1 11.99 4 M5 20 A7 7 0 0 1 19 20",
        "poll": "M6 19.5 L6 12 M12 19.5 L12 5 M18 19.5 L18 15",
        "quote": "M5 8 L10 8 L10 13 L7 17 M14 8 L19 8 L19 13 L16 17",
        "snooze": "M12 4.5 A7.5 7.5 0 1 1 11.99 4.5 M9.5 9.5 L14.5 9.5 L9.5 15 L14.5 15",
        "calendar": "M4.5 6 L19.5 6 L19.5 20 L4.5 20 Z M4.5 10 L19.5 10 M8.5 3.5 L8.5 7.5 M15.5 3.5 L15.5 7.5",
        "edit": "M4.5 19.5 L5.5 15 L15.5 5 A2.1 2.1 0 0 1 19 8.5 L9 18.5 Z M13.5 7 L17 10.5",
        "undo": "M9 5.5 L4.5 10 L9 14.5 M4.5 10 L14 10 A5 5 0 0 1 14 20 L10 20",
        "devices": "M3.5 5.5 L16.5 5.5 L16.5 14.5 L3.5 14.5 Z M7 18 L13 18 M10 14.5 L10 18 M18.5 9 L21 9 L21 19 L18.5 19 Z"
    })

    Shape {
        anchors.fill: parent
        antialiasing: true
        ShapePath {
            scale: Qt.size(icon.size / 24, icon.size / 24)
            strokeColor: icon.color
            strokeWidth: icon.lineWidth
            fillColor: "transparent"
            capStyle: ShapePath.RoundCap
            joinStyle: ShapePath.RoundJoin
            PathSvg { path: icon.paths[icon.name] || "" }
        }
    }
}
