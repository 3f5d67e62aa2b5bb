#pragma once
// The ten suggestion rules, in the order the engine runs them.

#include "Shoreline/Rule.hpp"

#include <string>
#include <string_view>

namespace shoreline {

/// Caches apps keep in the caches folder and in their sandbox containers.
class AppCachesRule final : public Rule {
public:
    AppCachesRule();
    std::vector<Candidate> candidates(const ShorelineContext& context) const override;
};

/// Apps' diagnostic logs.
class LogsRule final : public Rule {
public:
    LogsRule();
    std::vector<Candidate> candidates(const ShorelineContext& context) const override;
};

/// Xcode's build products, old device symbols, old archives and the simulator cache.
class XcodeRule final : public Rule {
public:
    XcodeRule();
    std::vector<Candidate> candidates(const ShorelineContext& context) const override;
};

/// Package managers' download caches of at least 10 MiB.
class PackageCachesRule final : public Rule {
public:
    PackageCachesRule();
    std::vector<Candidate> candidates(const ShorelineContext& context) const override;
};

/// Installed dependencies of projects untouched for 30 days.
class ProjectDependenciesRule final : public Rule {
public:
    /// A dependency folder's name, the file beside it that proves a project (empty: none),
    /// the command that brings it back, and how safe removing it is.
    struct Kind {
        std::string_view folder;
        std::string_view sibling;
        std::string_view command;
        Safety safety;
    };

    ProjectDependenciesRule();
    std::vector<Candidate> candidates(const ShorelineContext& context) const override;

    /// The kind whose folder name is `name`, or null.
    static const Kind* kind(std::string_view name);
};

/// Disk images and installer packages in Downloads, 14 days or older.
class InstallersRule final : public Rule {
public:
    InstallersRule();
    std::vector<Candidate> candidates(const ShorelineContext& context) const override;
};

/// Things in Downloads not opened or changed for 90 days.
class OldDownloadsRule final : public Rule {
public:
    OldDownloadsRule();
    std::vector<Candidate> candidates(const ShorelineContext& context) const override;
};

/// Identical copies of large files; keeps the copy in the most deliberate place.
class DuplicatesRule final : public Rule {
public:
    DuplicatesRule();
    std::vector<Candidate> candidates(const ShorelineContext& context) const override;

    /// True when `path` lies in a library an application manages (Music, TV, Photos).
    static bool inManagedLibrary(std::string_view path, const ShorelineContext& context);
};

/// The user's own big files not opened or changed for 180 days.
class LargeOldFilesRule final : public Rule {
public:
    LargeOldFilesRule();
    std::vector<Candidate> candidates(const ShorelineContext& context) const override;
};

/// iPhone and iPad backups more than a year old.
class DeviceBackupsRule final : public Rule {
public:
    DeviceBackupsRule();
    std::vector<Candidate> candidates(const ShorelineContext& context) const override;
};

} // namespace shoreline
