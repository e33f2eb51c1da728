import QtQuick

// Line icons drawn in code, so the hub needs no icon theme or image plugin.
Canvas {
    id: icon

    property string name: ""
    property color color: "black"
    property real lineWidth: Math.max(1.2, width / 12)

    implicitWidth: 16
    implicitHeight: 16
    antialiasing: true
    Accessible.ignored: true

    onNameChanged: requestPaint()
    onColorChanged: requestPaint()
    onWidthChanged: requestPaint()

    onPaint: {
        const c = getContext("2d");
        const s = Math.min(width, height);
        c.reset();
        c.strokeStyle = icon.color;
        c.fillStyle = icon.color;
        c.lineWidth = icon.lineWidth;
        c.lineCap = "round";
        c.lineJoin = "round";
        const u = s / 16;
        function line(x1, y1, x2, y2) { c.beginPath(); c.moveTo(x1 * u, y1 * u); c.lineTo(x2 * u, y2 * u); c.stroke(); }
        function rect(x, y, w, h, r) {
            c.beginPath();
            c.moveTo((x + r) * u, y * u);
            c.arcTo((x + w) * u, y * u, (x + w) * u, (y + h) * u, r * u);
            c.arcTo((x + w) * u, (y + h) * u, x * u, (y + h) * u, r * u);
            c.arcTo(x * u, (y + h) * u, x * u, y * u, r * u);
            c.arcTo(x * u, y * u, (x + w) * u, y * u, r * u);
            c.closePath();
        }
        function circle(x, y, r) { c.beginPath(); c.arc(x * u, y * u, r * u, 0, Math.PI * 2); }

        switch (icon.name) {
        case "text":
            line(3, 4, 13, 4); line(3, 7, 11, 7); line(3, 10, 13, 10); line(3, 13, 9, 13);
            break;
        case "link":
            rect(1.5, 5.5, 7.5, 5, 2.5); c.stroke();
            rect(7, 5.5, 7.5, 5, 2.5); c.stroke();
            break;
        case "image":
            rect(2, 3, 12, 10, 1.5); c.stroke();
            c.beginPath(); c.moveTo(3 * u, 12 * u); c.lineTo(7 * u, 8 * u); c.lineTo(9.5 * u, 10.5 * u);
            c.lineTo(11 * u, 9 * u); c.lineTo(13 * u, 11.5 * u); c.stroke();
            circle(10.5, 6, 1.2); c.fill();
            break;
        case "file":
            c.beginPath(); c.moveTo(4 * u, 2 * u); c.lineTo(9.5 * u, 2 * u); c.lineTo(12.5 * u, 5 * u);
            c.lineTo(12.5 * u, 14 * u); c.lineTo(4 * u, 14 * u); c.closePath(); c.stroke();
            line(9.5, 2, 9.5, 5); line(9.5, 5, 12.5, 5);
            break;
        case "color":
            c.beginPath(); c.moveTo(8 * u, 2 * u);
            c.bezierCurveTo(11 * u, 6 * u, 13 * u, 8 * u, 13 * u, 10 * u);
            c.arc(8 * u, 10 * u, 5 * u, 0, Math.PI, false);
            c.bezierCurveTo(3 * u, 8 * u, 5 * u, 6 * u, 8 * u, 2 * u); c.stroke();
            break;
        case "gear":
            circle(8, 8, 2.2); c.stroke();
            for (let i = 0; i < 8; ++i) {
                const a = i * Math.PI / 4;
                line(8 + Math.cos(a) * 4.2, 8 + Math.sin(a) * 4.2, 8 + Math.cos(a) * 6.2, 8 + Math.sin(a) * 6.2);
            }
            circle(8, 8, 4.4); c.stroke();
            break;
        case "power":
            c.beginPath(); c.arc(8 * u, 8.8 * u, 5.2 * u, -Math.PI / 2 + 0.75, Math.PI * 1.5 - 0.75, false); c.stroke();
            line(8, 2, 8, 8);
            break;
        case "search":
            circle(7, 7, 4.2); c.stroke(); line(10.2, 10.2, 14, 14);
            break;
        case "search-doc":
            c.beginPath(); c.moveTo(3 * u, 2 * u); c.lineTo(9 * u, 2 * u); c.lineTo(11 * u, 4 * u);
            c.lineTo(11 * u, 7 * u); c.moveTo(7 * u, 14 * u); c.lineTo(3 * u, 14 * u); c.closePath(); c.stroke();
            circle(10, 10, 2.6); c.stroke(); line(12, 12, 14.5, 14.5);
            break;
        case "clear":
            circle(8, 8, 6.5); c.fill();
            c.strokeStyle = Qt.rgba(1, 1, 1, 0.95);
            line(5.6, 5.6, 10.4, 10.4); line(10.4, 5.6, 5.6, 10.4);
            break;
        case "trash":
            line(2.5, 4, 13.5, 4); line(6, 4, 6.5, 2); line(6.5, 2, 9.5, 2); line(9.5, 2, 10, 4);
            c.beginPath(); c.moveTo(4 * u, 4 * u); c.lineTo(4.8 * u, 14 * u); c.lineTo(11.2 * u, 14 * u);
            c.lineTo(12 * u, 4 * u); c.stroke();
            line(6.8, 6.5, 7, 11.5); line(9.2, 6.5, 9, 11.5);
            break;
        case "pin":
            c.beginPath(); c.moveTo(5 * u, 2 * u); c.lineTo(11 * u, 2 * u); c.lineTo(10 * u, 6.5 * u);
            c.lineTo(12.5 * u, 9.5 * u); c.lineTo(3.5 * u, 9.5 * u); c.lineTo(6 * u, 6.5 * u); c.closePath(); c.fill();
            line(8, 9.5, 8, 14.5);
            break;
        case "video":
            rect(1.5, 4, 9, 8, 2); c.fill();
            c.beginPath(); c.moveTo(11 * u, 7 * u); c.lineTo(14.5 * u, 4.5 * u); c.lineTo(14.5 * u, 11.5 * u);
            c.lineTo(11 * u, 9 * u); c.closePath(); c.fill();
            break;
        case "desktop":
            rect(1.5, 2.5, 13, 8.5, 1.5); c.stroke();
            line(8, 11, 8, 13.5); line(5, 13.5, 11, 13.5);
            break;
        case "clipboard":
            rect(3, 3, 10, 11.5, 1.5); c.stroke();
            rect(5.5, 1.5, 5, 3, 1); c.fill();
            line(5.5, 8, 10.5, 8); line(5.5, 11, 9, 11);
            break;
        case "cursor":
            c.beginPath(); c.moveTo(4 * u, 3 * u); c.lineTo(4 * u, 13 * u); c.lineTo(6.8 * u, 10.5 * u);
            c.lineTo(8.8 * u, 14.5 * u); c.lineTo(10.4 * u, 13.8 * u); c.lineTo(8.5 * u, 9.8 * u);
            c.lineTo(12 * u, 9.8 * u); c.closePath(); c.stroke();
            break;
        }
    }
}
