#include "Mof/MofCompiler.h"

#include "Mof/MofParser.h"
#include "Repository/Names.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <set>
#include <utility>

namespace cimom
{
namespace
{

namespace fs = std::filesystem;

constexpr std::size_t deepestInclude = 32;

std::string readFile(const fs::path& file)
{
    const auto refuse = [&file](const char* why) {
        throw std::runtime_error("cannot read MOF file " + file.string() + ": " + why);
    };
    if (fs::is_directory(file)) refuse("it is a folder");
    std::ifstream stream(file, std::ios::binary);
    if (!stream) refuse(std::strerror(errno));
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

// One run of the compiler: a text and everything it includes.
class Compilation
{
public:
    Compilation(Repository& repository, const std::vector<fs::path>& searchPath)
        : repository_(repository), searchPath_(searchPath)
    {
    }

    void file(const fs::path& file, const Pegasus::CIMNamespaceName& nameSpace)
    {
        const fs::path real = fs::weakly_canonical(file);
        done_.emplace(real, toUtf8(nameSpace.getString()));
        open_.push_back(real);
        text(readFile(file), file.string(), file.parent_path(), nameSpace);
        open_.pop_back();
    }

    // `folder` is where includes are looked for first.
    void text(const std::string& text, const std::string& name, const fs::path& folder,
              const Pegasus::CIMNamespaceName& nameSpace)
    {
        const auto include = [&](const std::string& wanted,
                                 const Pegasus::CIMNamespaceName& current, const MofPosition& at) {
            this->include(find(wanted, folder, at), current, at);
        };
        try {
            MofParser(text, repository_, nameSpace, aliases_, include).parse();
        } catch (const MofFault& fault) {
            throw MofError(name, fault.at.line, fault.at.column, fault.text);
        }
    }

private:
    fs::path find(const std::string& wanted, const fs::path& folder, const MofPosition& at) const
    {
        std::vector<fs::path> folders{folder};
        folders.insert(folders.end(), searchPath_.begin(), searchPath_.end());
        std::string tried;
        for (const fs::path& candidate : folders) {
            std::error_code ignored;
            if (fs::is_regular_file(candidate / wanted, ignored)) return candidate / wanted;
            tried += (tried.empty() ? "" : ", ") +
                     (candidate.empty() ? std::string(".") : candidate.string());
        }
        throw MofFault{at, "cannot find the file to include, \"" + wanted + "\", in " + tried};
    }

    // A file that was compiled into the namespace before is passed over.
    void include(const fs::path& included, const Pegasus::CIMNamespaceName& nameSpace,
                 const MofPosition& at)
    {
        const fs::path real = fs::weakly_canonical(included);
        if (std::find(open_.begin(), open_.end(), real) != open_.end())
            throw MofFault{at, "the file \"" + included.string() + "\" includes itself"};
        if (open_.size() >= deepestInclude)
            throw MofFault{
                at, "more than " + std::to_string(deepestInclude) + " files include each other"};
        if (done_.count({real, toUtf8(nameSpace.getString())}) == 0) file(included, nameSpace);
    }

    Repository& repository_;
    const std::vector<fs::path>& searchPath_;
    std::vector<fs::path> open_;
    std::set<std::pair<fs::path, std::string>> done_;
    MofAliases aliases_;
};

}  // namespace

MofError::MofError(const std::string& file, unsigned line, unsigned column, const std::string& text)
    : std::runtime_error(file + ":" + std::to_string(line) + ":" + std::to_string(column) + ": " +
                         text),
      line_(line),
      column_(column)
{
}

MofCompiler::MofCompiler(Repository& repository) : repository_(repository) {}

void MofCompiler::setSearchPath(std::vector<fs::path> folders)
{
    searchPath_ = std::move(folders);
}

void MofCompiler::compileFile(const fs::path& file, const Pegasus::CIMNamespaceName& nameSpace)
{
    Compilation(repository_, searchPath_).file(file, nameSpace);
}

void MofCompiler::compileText(const std::string& text, const std::string& name,
                              const Pegasus::CIMNamespaceName& nameSpace)
{
    Compilation(repository_, searchPath_).text(text, name, fs::path(), nameSpace);
}

}  // namespace cimom
