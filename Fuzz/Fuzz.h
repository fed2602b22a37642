// What the fuzz targets share.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <expat.h>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

/// The target: runs one input, and ends the process when a property does not hold for it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz
{

inline std::string text(const std::uint8_t* data, std::size_t size)
{
    return {data, data + size};
}

/// Ends the process, saying which property does not hold.
inline void check(bool holds, const std::string& property)
{
    if (holds) return;
    std::cerr << "does not hold: " << property << std::endl;
    std::abort();
}

/// Checks that it is XML which every reader takes.
inline void checkXml(const std::string& document)
{
    const XML_Parser parser = XML_ParserCreate("UTF-8");
    const auto status =
        XML_Parse(parser, document.data(), static_cast<int>(document.size()), XML_TRUE);
    const char* const fault = XML_ErrorString(XML_GetErrorCode(parser));
    XML_ParserFree(parser);
    if (status != XML_STATUS_OK) check(false, std::string(fault) + " in " + document);
}

/// A new folder for files of the process, removed at its end.
class Folder
{
public:
    Folder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "fuzz-XXXXXX").string();
        check(mkdtemp(name.data()) != nullptr, "a temporary folder can be made");
        folder_ = name;
    }
    ~Folder() { std::filesystem::remove_all(folder_); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    std::string path(const std::string& name) const { return folder_ / name; }
    void write(const std::string& name, const std::string& content) const
    {
        std::ofstream(path(name), std::ios::binary) << content;
    }
    std::string read(const std::string& name) const
    {
        std::ifstream file(path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    std::filesystem::path folder_;
};

}  // namespace fuzz
