#include "Shoreline/TestHome.hpp"
#include "support/CommandOutput.hpp"

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

TEST(SuggestCommand, CategoriesAsJsonAndText) {
    TestHome home;
    home.file(".cache/app/a", 2 * MiB);
    home.file(".cache/thumbnails/a", MiB);
    home.file("Downloads/setup.iso", 4096, 30);
    const std::string homeArg = quoted(home.home());

    const auto [json, status] = brantleRun("suggest " + homeArg + " --home " + homeArg + " --json");
    ASSERT_EQ(status, 0);
    const auto categories = QJsonDocument::fromJson(QByteArray::fromStdString(json)).array();
    ASSERT_EQ(categories.size(), 2);
    const QJsonObject caches = categories[0].toObject();
    EXPECT_EQ(caches["id"].toString(), "caches");
    // The caches' files plus their folders' own blocks.
    EXPECT_GE(caches["total"].toInteger(), static_cast<qint64>(3 * MiB));
    EXPECT_LT(caches["total"].toInteger(), static_cast<qint64>(3 * MiB + 64 * 1024));
    EXPECT_EQ(caches["safeTotal"].toInteger(),
              static_cast<qint64>(2 * MiB + testing_support::allocatedBytes(home / ".cache/app")));
    const QJsonObject first = caches["findings"].toArray()[0].toObject();
    EXPECT_EQ(first["path"].toString().toStdString(), home / ".cache/app");
    EXPECT_EQ(first["bytes"].toInteger(), caches["safeTotal"].toInteger());
    EXPECT_EQ(first["safety"].toString(), "safe");
    EXPECT_FALSE(first["reason"].toString().isEmpty());
    EXPECT_EQ(caches["findings"].toArray()[1].toObject()["safety"].toString(), "review");
    const QJsonObject installers = categories[1].toObject();
    EXPECT_EQ(installers["id"].toString(), "installers");
    EXPECT_EQ(installers["safeTotal"].toInteger(), 0);

    const auto [text, textStatus] = brantleRun("suggest --home " + quoted(home.home() + "/"));
    ASSERT_EQ(textStatus, 0);
    EXPECT_NE(text.find("App caches: 3.2 MB, 2.1 MB safe\n"), std::string::npos) << text;
    EXPECT_NE(text.find(home / "Downloads/setup.iso"), std::string::npos) << text;
    EXPECT_NE(text.find("Installer downloaded 30 days ago"), std::string::npos) << text;

    EXPECT_EQ(brantleRun("suggest --home").second, 2);
    EXPECT_EQ(brantleRun("suggest a b").second, 2);
    EXPECT_EQ(brantleRun("suggest --bogus").second, 2);
}

} // namespace
