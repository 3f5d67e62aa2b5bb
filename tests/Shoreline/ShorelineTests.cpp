#include "BrantleServices/Eraser.hpp"
#include "Shoreline/LastUsed.hpp"
#include "Shoreline/Rules.hpp"
#include "Shoreline/RunningApps.hpp"
#include "Shoreline/Shoreline.hpp"
#include "TestHome.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace shoreline;
using testing::ElementsAre;

namespace {

/// A rule that proposes fixed home-relative paths, to drive the engine directly.
class FixedRule final : public Rule {
public:
    FixedRule(std::string id, std::vector<std::pair<std::string, Safety>> paths)
        : Rule(id, "Title " + id, "symbol", "Blurb"), paths_(std::move(paths)) {}
    std::vector<Candidate> candidates(const ShorelineContext& context) const override {
        std::vector<Candidate> out;
        for (const auto& [path, safety] : paths_) {
            if (const auto node = context.node(path))
                out.push_back({*node, safety, "because " + path});
        }
        return out;
    }

private:
    std::vector<std::pair<std::string, Safety>> paths_;
};

using Rules = std::vector<std::unique_ptr<const Rule>>;

/// What a FixedRule proposes.
struct R {
    R(std::string ruleId, std::vector<std::pair<std::string, Safety>> rulePaths)
        : id(std::move(ruleId)), paths(std::move(rulePaths)) {}
    std::string id;
    std::vector<std::pair<std::string, Safety>> paths;
};

template <class... Specs> Rules ruleList(Specs... specs) {
    Rules list;
    (list.push_back(std::make_unique<FixedRule>(specs.id, specs.paths)), ...);
    return list;
}

std::vector<std::string> ids(const std::vector<ShorelineCategory>& categories) {
    std::vector<std::string> out;
    for (const auto& category : categories)
        out.push_back(category.id);
    return out;
}

std::vector<std::string> paths(const TestHome& home, const ShorelineCategory& category) {
    std::vector<std::string> out;
    for (const auto& finding : category.findings)
        out.push_back(home.relative(finding.path));
    return out;
}

TEST(Shoreline, FirstRuleKeepsAnAreaAndTheGuardVetoes) {
    TestHome home;
    home.file("x/b/inner/a", 2 * MiB);
    home.file("x/bc/a", 3 * MiB);
    home.file("x/other/a", MiB);
    home.file("Downloads/keep/a", MiB);
    const auto context = home.context();
    const auto categories = Shoreline::analyze(
        context, ruleList(R("first", {{"x/b", Safety::safe}}),
                          R("second", {{"x", Safety::safe},
                                       {"x/b/inner", Safety::safe},
                                       {"x/b", Safety::safe},
                                       {"x/bc", Safety::review},
                                       {"Downloads", Safety::safe}}),
                          R("refused", {{"Downloads", Safety::safe}, {"x/b", Safety::safe}}),
                          R("inside", {{"x/other/a", Safety::caution}})));
    // "refused" proposed only a standard folder and an area already claimed: no category.
    ASSERT_THAT(ids(categories), ElementsAre("second", "first", "inside"));
    EXPECT_THAT(paths(home, categories[0]), ElementsAre("x/bc"));
    EXPECT_THAT(paths(home, categories[1]), ElementsAre("x/b"));
    EXPECT_THAT(paths(home, categories[2]), ElementsAre("x/other/a"));

    const Finding& finding = categories[1].findings[0];
    EXPECT_EQ(finding.bytes, 2 * MiB + home.folderBlocks("x/b"));
    const auto verdict = context.guardian.check(finding.path);
    const auto* removal = verdict.removal();
    ASSERT_NE(removal, nullptr);
    EXPECT_EQ(finding.removal, *removal);
}

TEST(Shoreline, SortsFindingsAndCategoriesStably) {
    TestHome home;
    home.file("one/a", MiB);
    home.file("two/a", 2 * MiB);
    home.file("three/a", MiB);
    home.file("four/a", 2 * MiB);
    home.file("five/a", 4 * MiB);
    const auto context = home.context();
    const auto categories = Shoreline::analyze(
        context,
        ruleList(
            R("mixed", {{"one", Safety::safe}, {"two", Safety::review}, {"three", Safety::safe}}),
            R("reviewed", {{"four", Safety::review}, {"five", Safety::caution}}),
            R("early", {{"one/a", Safety::safe}}), R("tieA", {{"one/a", Safety::safe}}),
            R("empty", {})));
    ASSERT_THAT(ids(categories), ElementsAre("reviewed", "mixed"));
    EXPECT_THAT(paths(home, categories[0]), ElementsAre("five", "four"));
    EXPECT_EQ(categories[0].total(),
              6 * MiB + home.folderBlocks("four") + home.folderBlocks("five"));
    EXPECT_EQ(categories[0].safeTotal(), 0u);
    EXPECT_THAT(paths(home, categories[1]), ElementsAre("two", "one", "three"));
    EXPECT_EQ(categories[1].total(), 4 * MiB + home.folderBlocks("one") + home.folderBlocks("two") +
                                         home.folderBlocks("three"));
    EXPECT_EQ(categories[1].safeTotal(),
              2 * MiB + home.folderBlocks("one") + home.folderBlocks("three"));

    // Equal totals keep the rules' order.
    TestHome tie;
    tie.file("p/a", MiB);
    tie.file("q/a", MiB);
    const auto tied = Shoreline::analyze(
        tie.context(), ruleList(R("b", {{"q", Safety::safe}}), R("a", {{"p", Safety::safe}})));
    EXPECT_THAT(ids(tied), ElementsAre("b", "a"));
}

TEST(Shoreline, WholeHomeOnLinux) {
    TestHome home;
    home.file(".cache/app/a", 2 * MiB);
    home.file(".cache/pip/a", 12 * MiB);
    home.file(".cache/small/a", 4096);
    home.file("Downloads/setup.iso", 3 * MiB, 100);
    home.file("Documents/notes.txt", 4096);
    const auto categories = Shoreline::analyze(home.context());
    ASSERT_THAT(ids(categories), ElementsAre("packages", "installers", "caches"));
    EXPECT_THAT(paths(home, categories[0]), ElementsAre(".cache/pip"));
    EXPECT_THAT(paths(home, categories[1]), ElementsAre("Downloads/setup.iso"));
    EXPECT_THAT(paths(home, categories[2]), ElementsAre(".cache/app"));
    EXPECT_EQ(categories[2].safeTotal(), 2 * MiB + home.folderBlocks(".cache/app"));
}

TEST(Shoreline, NothingAtInsideOrAroundAnExcludedFolder) {
    TestHome home;
    home.file(".cache/app/inner/a", 2 * MiB);
    home.file(".cache/other/a", 2 * MiB);
    const struct {
        std::string excluded;
        std::vector<std::string> proposed;
    } cases[] = {
        {".cache/app", {".cache/other"}},
        {".cache/app/inner", {".cache/other"}},
        {".cache", {}},
        {"Documents", {".cache/app", ".cache/other"}},
    };
    for (const auto& test : cases) {
        auto context = home.context();
        context.excludedPaths = {home / test.excluded};
        std::vector<std::string> proposed;
        for (const auto& category : Shoreline::analyze(context))
            for (const auto& path : paths(home, category))
                proposed.push_back(path);
        std::ranges::sort(proposed);
        EXPECT_EQ(proposed, test.proposed) << test.excluded;
    }
}

TEST(LastUsed, AccessTimeOnlyWhenLaterThanModification) {
    TestHome home;
    home.file("opened", 4096);
    home.file("untouched", 4096);
    const std::int64_t then = secondsNow() - 100 * day;
    const timespec opened[2] = {{then + 5 * day, 0}, {then, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, (home / "opened").c_str(), opened, 0), 0);
    const timespec untouched[2] = {{then, 0}, {then + day, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, (home / "untouched").c_str(), untouched, 0), 0);
    EXPECT_EQ(LastUsed::spotlight(home / "opened"), then + 5 * day);
    EXPECT_EQ(LastUsed::spotlight(home / "untouched"), std::nullopt);
    EXPECT_EQ(LastUsed::spotlight(home / "missing"), std::nullopt);
}

TEST(RunningApps, NamesThisProgramsExecutable) {
    const auto self = std::filesystem::read_symlink("/proc/self/exe").filename().string();
    EXPECT_TRUE(RunningApps::bundleIDs().contains(self));
}

} // namespace

// Two installers whose raw names repair to the same text: each finding judges, sizes and
// removes its own file, and only the shown path is repaired.
TEST(Shoreline, FindingsActOnRawNamesAndShowRepairedOnes) {
    TestHome home;
    const std::string invalid = "Downloads/setup\xff.deb";
    const std::string repaired = "Downloads/setup\xef\xbf\xbd.deb";
    home.file(invalid, 8192, 20);
    home.file(repaired, 4096, 20);
    const auto context = home.context();
    Rules rules;
    rules.push_back(std::make_unique<InstallersRule>());
    const auto categories = Shoreline::analyze(context, rules);

    ASSERT_EQ(categories.size(), 1u);
    const auto& findings = categories[0].findings;
    ASSERT_EQ(findings.size(), 2u);
    EXPECT_EQ(findings[0].path, home / invalid);
    EXPECT_EQ(findings[0].displayPath, home / repaired);
    EXPECT_EQ(findings[0].bytes, 8192u);
    EXPECT_EQ(findings[0].removal.path(), home / invalid);
    EXPECT_EQ(findings[1].path, home / repaired);

    brantle::Eraser eraser(home / "staging");
    ASSERT_TRUE(eraser.erase(std::span(&findings[0].removal, 1)));
    eraser.waitUntilIdle();
    EXPECT_FALSE(std::filesystem::exists(home / invalid));
    EXPECT_EQ(std::filesystem::file_size(home / repaired), 4096u);
}
