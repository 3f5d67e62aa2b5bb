// What `brantle COMMAND --help` prints after the command's usage line. Kept in one table so
// that the texts read alike; a command without an entry shows its usage line alone.
#include "Command.hpp"

#include <array>
#include <utility>

namespace brantle::cli {

namespace {

constexpr std::array<std::pair<std::string_view, std::string_view>, 12> helpTexts{{
    {"catch-up", "Brings a snapshot up to date with the changes made since it was taken, or\n"
                 "rescans its folder when the change history cannot be trusted, and saves it\n"
                 "back in place.\n\n"
                 "  --workers N  scanner threads for a rescan (default: processors online)\n"
                 "  --json       print the result as JSON\n"},
    {"diff", "Compares two snapshots of a folder by path and prints what changed, the\n"
             "largest change first: one line per item with the change (grown, shrunk, new\n"
             "or removed), the old size, the new size and the path. A new or removed folder\n"
             "is one line; a hard-linked file counts once, at its first name by path.\n\n"
             "  --json  print the changes as JSON (path, oldSize, newSize, change)\n"},
    {"erase", "Deletes each PATH at once, as the Cleanup List's \"Delete Immediately\" does:\n"
              "each item is screened by the deletion guard, reached without following a\n"
              "symbolic link and never left for another volume. Returns once the deletion\n"
              "has finished. One line per path: \"deleted: PATH\" or \"not deleted: NAME:\n"
              "REASON\". Exit status 1 when any item was not deleted.\n\n"
              "  --json  print the removal result as JSON\n"},
    {"export", "Writes a snapshot as an ncdu JSON export (format 1), which `ncdu -f` opens:\n"
               "allocated sizes, hard links, mount points, read errors and symbolic links\n"
               "kept. Names are written byte for byte.\n\n"
               "  -o FILE  write the export to FILE (default: standard output)\n"},
    {"guard", "Prints the deletion guard's verdict on each PATH, one line per path:\n"
              "\"allowed\", \"allowed: CAUTION\" or \"blocked: REASON\".\n\n"
              "  --profile linux|macos  the platform's protected places (default: this one)\n"
              "  --home PATH            the home folder (default: yours)\n"
              "  --app PATH             the application itself (default: this installation)\n"
              "  --running PATH         an application taken as running (repeatable;\n"
              "                         default: the running applications)\n"},
    {"import", "Reads an ncdu JSON export (`ncdu -o FILE`) and saves it as a snapshot, then\n"
               "prints its totals. Sizes are the allocated sizes; hard links count once;\n"
               "other file systems become mount points and pattern exclusions stay out.\n\n"
               "  --save FILE  the snapshot to write (required)\n"},
    {"lzfse", "Compresses (encode) or decompresses (decode) the file IN into OUT with\n"
              "Ambrel's LZFSE codec, the format of its snapshots.\n"},
    {"ring", "Scans PATH and prints the ring layout of one folder in it, as the window lays\n"
             "it out: five rings, segments of at least half a degree.\n\n"
             "  --focus FOLDER  the folder at the centre (default: PATH)\n"
             "  --json          print the segments as JSON\n"},
    {"scan", "Scans the folder PATH and prints its allocated size, item count and scan time;\n"
             "sizes count the blocks files occupy, each hard-linked file once.\n\n"
             "  --workers N  scanner threads (default: processors online)\n"
             "  --save FILE  also save the result as a snapshot in FILE\n"
             "  --json       print the totals as JSON\n\n"
             "  --as-administrator   scan through the administrator helper (asks for a\n"
             "                       password through pkexec unless already root)\n"
             "  --helper PROGRAM     the helper program (default: the installed one)\n"
             "  --batch-size BYTES   the size of the blocks the helper sends\n"},
    {"snapshot", "Prints a snapshot file's record (folder, time, change-history position) and\n"
                 "the totals of the tree it holds.\n\n"
                 "  --json  print the same as JSON\n"},
    {"suggest", "Scans PATH (default: your home folder) and prints what could be cleaned, by\n"
                "category, with the size, the safety and the reason of each finding. Nothing\n"
                "is removed.\n\n"
                "  --home H  the home folder the rules judge paths against (default: yours)\n"
                "  --json    print the categories as JSON\n"},
    {"trash", "Moves each PATH to the Trash, as the Cleanup List's \"Move to Trash\" does,\n"
              "where a file manager can restore it; each item is screened by the deletion\n"
              "guard and reached without following a symbolic link. One line per path:\n"
              "\"moved: PATH\" or \"not moved: NAME: REASON\". Exit status 1 when any item\n"
              "was not moved. With --ledger, prints what Ambrel put in the Trash instead.\n\n"
              "  --ledger  print the trash ledger\n"
              "  --json    print the removal result (or the ledger) as JSON\n"},
}};

} // namespace

std::string_view commandHelp(std::string_view name) {
    for (const auto& [command, text] : helpTexts)
        if (command == name) return text;
    return {};
}

} // namespace brantle::cli
