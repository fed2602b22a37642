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

/// Ends the process with a message unless the property holds.
inline void check(bool holds, const std::string& property)
{
    if (holds) return;
    std::cerr << "does not hold: " << property << std::endl;
    std::abort();
}

/// Checks that the document is well-formed XML.
inline void checkXml(const std::string& document)
{
    const XML_Parser parser = XML_ParserCreate("UTF-8");
    const int size = static_cast<int>(document.size());
    const bool isGood = XML_Parse(parser, document.data(), size, XML_TRUE) == XML_STATUS_OK;
    XML_ParserFree(parser);
    check(isGood, "well-formed XML: " + document);
}

inline std::string read(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

inline void write(const std::filesystem::path& file, const std::string& content)
{
    std::ofstream(file, std::ios::binary) << content;
}

/// A new folder, removed at the end of the process.
struct Folder
{
    Folder() : path(std::filesystem::temp_directory_path() / "fuzz-XXXXXX")
    {
        std::string name = path;
        check(mkdtemp(name.data()) != nullptr, "a temporary folder can be made");
        path = name;
    }
    ~Folder() { std::filesystem::remove_all(path); }

    std::filesystem::path path;
};

}  // namespace fuzz
