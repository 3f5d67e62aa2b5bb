#pragma once

#include "Shoreline/Finding.hpp"
#include "Shoreline/ShorelineContext.hpp"

#include <string>
#include <vector>

namespace shoreline {

/// One suggestion rule: its texts, and the candidates it proposes in its own order. Rules only
/// propose; the engine resolves overlaps and asks the deletion guard.
class Rule {
public:
    Rule(std::string id, std::string title, std::string symbol, std::string blurb)
        : id_(std::move(id)), title_(std::move(title)), symbol_(std::move(symbol)),
          blurb_(std::move(blurb)) {}
    virtual ~Rule() = default;
    Rule(const Rule&) = delete;
    Rule& operator=(const Rule&) = delete;

    const std::string& id() const { return id_; }
    const std::string& title() const { return title_; }
    /// Name of the system symbol image shown with the category.
    const std::string& symbol() const { return symbol_; }
    const std::string& blurb() const { return blurb_; }

    /// What this rule proposes over the context's tree.
    virtual std::vector<Candidate> candidates(const ShorelineContext& context) const = 0;

private:
    std::string id_;
    std::string title_;
    std::string symbol_;
    std::string blurb_;
};

} // namespace shoreline
