#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

// A fresh folder under the system's temporary folder, removed with everything in it at the end.
class TempFolder {
public:
    TempFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "ambrel-XXXXXX").string();
        if (!::mkdtemp(pattern.data())) std::abort();
        path_ = pattern;
    }
    ~TempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::string& path() const { return path_; }
    std::string operator/(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

// Writes a small file, creating its folders.
inline void writeFile(const std::string& path, const std::string& text = "x") {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path) << text;
}
