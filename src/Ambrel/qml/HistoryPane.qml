pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import QtCharts
import Ambrel

// How the disk's use moved: the used space per stored day against the volume's size, the
// folders that grew, and when the disk fills at this rate.
Item {
    id: pane

    required property AppModel appModel
    readonly property var points: appModel.usageHistory
    readonly property real gigabyte: 1e9

    objectName: "historyPane"

    function plot() {
        usedSeries.clear()
        totalSeries.clear()
        let top = 0
        for (const point of pane.points) {
            usedSeries.append(point.date, point.used / pane.gigabyte)
            totalSeries.append(point.date, point.total / pane.gigabyte)
            top = Math.max(top, point.total / pane.gigabyte)
        }
        if (pane.points.length === 0)
            return
        // One stored day still needs a span for the time axis.
        const first = pane.points[0].date
        const last = pane.points[pane.points.length - 1].date
        const day = 86400000
        timeAxis.min = new Date(first - (last - first < day ? day : 0))
        timeAxis.max = new Date(last)
        sizeAxis.max = top
        sizeAxis.applyNiceNumbers()
    }

    onPointsChanged: plot()
    Component.onCompleted: plot()

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 8
        spacing: 8

        Label {
            text: "History"
            font.pointSize: 16
            font.bold: true
            color: Theme.text
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        Label {
            objectName: "forecast"
            Layout.fillWidth: true
            text: pane.appModel.forecastText
            color: Theme.text
            font.pointSize: 12
            wrapMode: Text.WordWrap
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
        Label {
            objectName: "historyEmpty"
            visible: pane.points.length === 0
            Layout.fillWidth: true
            text: "No days recorded yet. Ambrel keeps a small summary of your disk each day it scans your home folder."
            color: Theme.secondaryText
            wrapMode: Text.WordWrap
            Accessible.name: text
        }

        RowLayout {
            Layout.fillWidth: true
            Layout.fillHeight: true
            spacing: 12

            ChartView {
                id: chart
                visible: pane.points.length > 0
                Layout.fillWidth: true
                Layout.fillHeight: true
                Layout.preferredWidth: 3
                antialiasing: true
                backgroundColor: "transparent"
                legend.labelColor: Theme.text
                Accessible.role: Accessible.Chart
                Accessible.name: "Used space over time"

                DateTimeAxis {
                    id: timeAxis
                    format: "d MMM"
                    tickCount: 6
                    labelsColor: Theme.secondaryText
                }
                // The older name of ValueAxis: Qt 6.4's type file lists both under one C++
                // name and only this one reaches the linter.
                ValuesAxis {
                    id: sizeAxis
                    min: 0
                    tickCount: 7
                    labelFormat: "%.0f GB"
                    labelsColor: Theme.secondaryText
                }
                LineSeries {
                    id: totalSeries
                    name: "Disk size"
                    axisX: timeAxis
                    axisY: sizeAxis
                    color: Theme.secondaryText
                    width: 1.5
                }
                LineSeries {
                    id: usedSeries
                    name: "Used"
                    axisX: timeAxis
                    axisY: sizeAxis
                    color: Theme.accent
                    width: 2.5
                    pointsVisible: true
                }
            }

            ColumnLayout {
                Layout.fillHeight: true
                Layout.preferredWidth: 2
                Layout.fillWidth: true
                spacing: 12

                GrowthList {
                    title: "What grew in the last 7 days"
                    rows: pane.appModel.weekGrowth
                    Layout.fillWidth: true
                    Layout.fillHeight: true
                }
                GrowthList {
                    title: "What grew in the last 30 days"
                    rows: pane.appModel.monthGrowth
                    Layout.fillWidth: true
                    Layout.fillHeight: true
                }
            }
        }
    }
}
