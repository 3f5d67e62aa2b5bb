#include "BrantleServices/KindClassifier.hpp"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

using brantle::FileKind;
using brantle::KindClassifier;

TEST(KindClassifier, DecidesFromTheNameAlone) {
    const std::vector<std::pair<std::string, FileKind>> table{
        // Extensions, whatever their case.
        {"IMG_0042.JPG", FileKind::pictures},
        {"clip.MP4", FileKind::video},
        {"song.flac", FileKind::music},
        {"report.pdf", FileKind::documents},
        {"letter.docx", FileKind::documents}, // a zip underneath
        {"backup.zip", FileKind::archives},
        {"main.cpp", FileKind::code},
        {"tool.AppImage", FileKind::applications},
        {"server.jar", FileKind::applications}, // a zip underneath
        // Several dots: the last extension decides, version numbers aside.
        {"source-1.2.tar.gz", FileKind::archives},
        {"photos.2023.tar.xz", FileKind::archives},
        {"libssl.so.3", FileKind::applications},
        {"libz.so.1.2.13", FileKind::applications},
        {"thesis.final.v2.pdf", FileKind::documents},
        {"prog.c++", FileKind::code},
        {"report.copy-2", FileKind::other},
        {"notes.txt~1", FileKind::other},
        // No extension: the whole name, when the database knows it.
        {"Makefile", FileKind::code},
        {"README", FileKind::documents},
        {"blob", FileKind::other},
        {"3f786850e387550fdab836ed7e6dc881de23001b", FileKind::other}, // hashed
        {"notes.", FileKind::other},
        {"photo.2023", FileKind::other},
        // Dotfiles: the leading dot starts no extension.
        {".bashrc", FileKind::other},
        {".config.json", FileKind::code},
        // Unknown, odd or broken names.
        {"data.bin", FileKind::other},
        {"weird.xyzzy", FileKind::other},
        {"overlong.abcdefghijklmnopqrstuvwxyz", FileKind::other},
        {"caf\xe9.txt", FileKind::documents}, // invalid UTF-8 outside the extension
        {"bad.\xff\xfe", FileKind::other},
        {"", FileKind::other},
    };
    KindClassifier classifier;
    for (const auto& [name, kind] : table)
        EXPECT_EQ(classifier.kindOf(name), kind)
            << name << " should be " << brantle::fileKindName(kind);
    // The second answer comes from the cache and must be the same.
    for (const auto& [name, kind] : table)
        EXPECT_EQ(classifier.kindOf(name), kind) << name << " from the cache";
}
