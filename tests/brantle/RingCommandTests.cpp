#include "support/CommandOutput.hpp"
#include "support/TempFolder.hpp"

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <numbers>
#include <string>

namespace {

std::string ring(const std::string& args, int* status) {
    return brantleOutput("ring " + args + " 2>/dev/null", status);
}

} // namespace

TEST(RingCommand, PrintsTheLayoutOfTheFocusAsLinesOrJson) {
    TempFolder work;
    work.folder("many");
    for (int i = 0; i < 300; ++i)
        work.file("many/f" + std::to_string(i), 5000);
    work.folder("big");
    work.file("big/video", 6'000'000);
    const std::string root = work.path();

    int status = -1;
    const auto json =
        QJsonDocument::fromJson(QByteArray::fromStdString(ring("'" + root + "' --json", &status)));
    ASSERT_EQ(status, 0);
    const QJsonArray segments = json.array();
    ASSERT_EQ(segments.size(), 4); // big, video, many, the merged small files of many
    const QJsonObject big = segments[0].toObject();
    EXPECT_EQ(big["kind"].toString(), "node");
    EXPECT_EQ(big["path"].toString().toStdString(), root + "/big");
    EXPECT_EQ(big["branch"].toInt(), 0);
    EXPECT_EQ(segments[1].toObject()["path"].toString().toStdString(), root + "/big/video");
    EXPECT_EQ(segments[1].toObject()["depth"].toInt(), 2);
    const QJsonObject merged = segments[3].toObject();
    EXPECT_EQ(merged["kind"].toString(), "smaller");
    EXPECT_EQ(merged["count"].toInt(), 300);
    EXPECT_EQ(merged["parent"].toString().toStdString(), root + "/many");
    EXPECT_EQ(merged["branch"].toInt(), -1);
    EXPECT_FALSE(merged.contains("path"));
    const QJsonObject many = segments[2].toObject();
    EXPECT_EQ(many["branch"].toInt(), 1);
    // Folders' own blocks are part of their size but of no slice: a sliver stays open.
    EXPECT_NEAR(many["end"].toDouble(), 2 * std::numbers::pi, 0.01);
    EXPECT_NEAR(merged["end"].toDouble(), many["end"].toDouble(), 0.01);

    const std::string lines = ring("'" + root + "'", &status);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 4);
    EXPECT_NE(lines.find("smaller: 300 items in " + root + "/many\n"), std::string::npos) << lines;

    const auto focused = QJsonDocument::fromJson(QByteArray::fromStdString(
        ring("'" + root + "' --focus '" + root + "/big' --json", &status)));
    EXPECT_EQ(status, 0);
    ASSERT_EQ(focused.array().size(), 1);
    EXPECT_NEAR(focused.array()[0].toObject()["end"].toDouble(), 2 * std::numbers::pi, 0.01);

    ring("'" + root + "' --focus /elsewhere", &status);
    EXPECT_EQ(status, 1);
    ring("'" + root + "/missing'", &status);
    EXPECT_EQ(status, 1);
    ring("", &status);
    EXPECT_EQ(status, 2);
    ring("'" + root + "' --focus", &status);
    EXPECT_EQ(status, 2);
    ring("'" + root + "' --depth 3", &status);
    EXPECT_EQ(status, 2);
}
