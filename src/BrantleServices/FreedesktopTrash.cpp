#include "BrantleServices/FreedesktopTrash.hpp"

#include "BrantleCore/PathText.hpp"
#include "BrantleServices/ItemSize.hpp"
#include "BrantleServices/Locations.hpp"
#include "BrantleServices/TrashInfo.hpp"

#include <QDir>
#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <random>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace brantle::FreedesktopTrash {

namespace {

constexpr int folderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr std::string_view infoSuffix = ".trashinfo";

struct TrashCan {
    std::string path;
    Descriptor folder;
    Descriptor files;
    Descriptor info;
    /// The volume's top folder, which relative Path= values start from; empty for the home
    /// Trash, whose paths are absolute.
    std::string topDir;
};

// A folder of the Trash, made when missing; only a real folder of this user counts.
Descriptor ownFolder(int parent, const char* name) {
    ::mkdirat(parent, name, 0700);
    Descriptor folder(::openat(parent, name, folderFlags));
    struct stat status {};
    if (!folder || ::fstat(folder.get(), &status) != 0 || status.st_uid != ::getuid())
        return Descriptor();
    return folder;
}

std::optional<TrashCan> canIn(Descriptor folder, std::string path, std::string topDir) {
    if (!folder) return std::nullopt;
    TrashCan can{std::move(path), std::move(folder), {}, {}, std::move(topDir)};
    can.files = ownFolder(can.folder.get(), "files");
    can.info = ownFolder(can.folder.get(), "info");
    if (!can.files || !can.info) return std::nullopt;
    return can;
}

std::optional<TrashCan> homeCan() {
    const std::string path = Locations::trashDirectory();
    QDir().mkpath(
        QFile::decodeName(QByteArray::fromStdString(std::string(PathText::parent(path)))));
    ::mkdir(path.c_str(), 0700);
    Descriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return canIn(std::move(folder), path, {});
}

// Climbs from the item's folder to the root of its mount, counting the steps, so that the
// top folder's path is the item's folder path with that many components removed.
std::optional<std::pair<Descriptor, std::string>> topDirOf(const AnchoredItem& item,
                                                           std::string_view path) {
    Descriptor current(::fcntl(item.folder->get(), F_DUPFD_CLOEXEC, 0));
    std::string_view text = PathText::parent(path);
    while (current && !isMountRoot(current.get(), "")) {
        Descriptor up(::openat(current.get(), "..", O_PATH | O_DIRECTORY | O_CLOEXEC));
        struct stat here {};
        struct stat above {};
        if (!up || ::fstat(current.get(), &here) != 0 || ::fstat(up.get(), &above) != 0)
            return std::nullopt;
        if (above.st_dev != here.st_dev || above.st_ino == here.st_ino) break;
        current = std::move(up);
        text = PathText::parent(text);
    }
    if (!current) return std::nullopt;
    return std::pair{std::move(current), std::string(text)};
}

std::optional<TrashCan> volumeCan(const AnchoredItem& item, std::string_view path) {
    auto top = topDirOf(item, path);
    if (!top) return std::nullopt;
    const auto& [topFolder, topDir] = *top;
    const std::string uid = std::to_string(::getuid());
    Descriptor shared(::openat(topFolder.get(), ".Trash", folderFlags));
    struct stat status {};
    if (shared && ::fstat(shared.get(), &status) == 0 && (status.st_mode & S_ISVTX)) {
        if (auto can = canIn(ownFolder(shared.get(), uid.c_str()),
                             PathText::joined(topDir, ".Trash/" + uid), topDir))
            return can;
    }
    const std::string own = ".Trash-" + uid;
    return canIn(ownFolder(topFolder.get(), own.c_str()), PathText::joined(topDir, own), topDir);
}

std::string infoPath(const TrashCan& can, std::string_view path) {
    if (can.topDir.empty() || can.topDir == "/") return std::string(path);
    return std::string(path.substr(can.topDir.size() + 1));
}

bool writeAll(int fd, const std::string& text) {
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t n = ::write(fd, text.data() + done, text.size() - done);
        if (n <= 0) return false;
        done += static_cast<std::size_t>(n);
    }
    return true;
}

std::string trashName(std::string_view name, int attempt, std::size_t cut) {
    std::string base(name.substr(0, name.size() - std::min(cut, name.size() - 1)));
    return attempt == 1 ? base : base + "." + std::to_string(attempt);
}

// Rewrites "directorysizes" (where the Trash keeps one) with a line for a trashed folder, so
// that file managers need not measure it; replaced atomically.
void noteDirectorySize(const TrashCan& can, const std::string& name) {
    Descriptor old(::openat(can.folder.get(), "directorysizes", O_RDONLY | O_CLOEXEC));
    if (!old) return;
    std::string text;
    char chunk[4096];
    for (ssize_t n; (n = ::read(old.get(), chunk, sizeof chunk)) > 0;)
        text.append(chunk, static_cast<std::size_t>(n));
    struct stat info {};
    ::fstatat(can.info.get(), (name + std::string(infoSuffix)).c_str(), &info, 0);
    text += std::to_string(ItemSize::allocated(can.files.get(), name)) + " " +
            std::to_string(info.st_mtime) + " " + percentEncoded(name) + "\n";
    const std::string temporary =
        "directorysizes." + std::to_string(std::random_device{}()) + ".tmp";
    Descriptor out(::openat(can.folder.get(), temporary.c_str(),
                            O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!out) return;
    if (writeAll(out.get(), text) && ::fsync(out.get()) == 0 &&
        ::renameat(can.folder.get(), temporary.c_str(), can.folder.get(), "directorysizes") == 0)
        return;
    ::unlinkat(can.folder.get(), temporary.c_str(), 0);
}

std::expected<std::string, FileError> moveInto(const TrashCan& can, const AnchoredItem& item,
                                               std::string_view path) {
    const std::string info =
        TrashInfo{infoPath(can, path), TrashInfo::localDate(std::time(nullptr))}.text();
    std::size_t cut = 0;
    for (int attempt = 1; attempt < 100'000;) {
        const std::string name = trashName(item.name, attempt, cut);
        const std::string infoName = name + std::string(infoSuffix);
        Descriptor file(::openat(can.info.get(), infoName.c_str(),
                                 O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
        if (!file) {
            if (errno == EEXIST)
                ++attempt;
            else if (errno == ENAMETOOLONG && cut + 8 < item.name.size())
                cut += 8;
            else
                return std::unexpected(FileError{errno, std::string(path)});
            continue;
        }
        const bool written = writeAll(file.get(), info) && ::fsync(file.get()) == 0;
        if (written && ::renameat2(item.folder->get(), item.name.c_str(), can.files.get(),
                                   name.c_str(), RENAME_NOREPLACE) == 0) {
            if (S_ISDIR(item.status.st_mode) && can.topDir.empty()) noteDirectorySize(can, name);
            return PathText::joined(can.path, "files/" + name);
        }
        const int code = written ? errno : EIO;
        ::unlinkat(can.info.get(), infoName.c_str(), 0);
        if (code != EEXIST) return std::unexpected(FileError{code, std::string(path)});
        ++attempt;
    }
    return std::unexpected(FileError{EEXIST, std::string(path)});
}

dev_t deviceOf(int fd) {
    struct stat status {};
    return ::fstat(fd, &status) == 0 ? status.st_dev : dev_t(-1);
}

} // namespace

std::expected<std::string, FileError> trash(const AnchoredItem& item, std::string_view path) {
    // The home Trash when the item shares its volume; a bind mount in between makes the
    // rename fail with EXDEV, and then the volume's own Trash is used as for any volume.
    if (auto home = homeCan(); home && deviceOf(home->folder.get()) == item.status.st_dev) {
        auto moved = moveInto(*home, item, path);
        if (moved || moved.error().code != EXDEV) return moved;
    }
    auto volume = volumeCan(item, path);
    if (!volume || deviceOf(volume->folder.get()) != item.status.st_dev)
        return std::unexpected(FileError{EXDEV, std::string(path), std::string(noTrashReason)});
    return moveInto(*volume, item, path);
}

} // namespace brantle::FreedesktopTrash
