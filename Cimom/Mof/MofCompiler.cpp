#include "Mof/MofCompiler.h"

#include "Model/Text.h"
#include "Mof/MofParser.h"

#include <set>
#include <stdexcept>

namespace cimom
{
namespace
{

namespace fs = std::filesystem;

// One run of the compiler: a text and everything it includes.
class Compilation
{
public:
    Compilation(Repository& repository, const CIMNamespaceName& nameSpace,
                const std::vector<fs::path>& searchPath)
        : repository_(repository), nameSpace_(nameSpace), searchPath_(searchPath)
    {
    }

    // A file that was compiled before is passed over.
    void file(const fs::path& file)
    {
        if (done_.insert(fs::weakly_canonical(file)).second)
            text(readFile(file, "MOF"), file.string(), file.parent_path());
    }

    // `folder` is where includes are looked for first.
    void text(const std::string& text, const std::string& name, const fs::path& folder)
    {
        const auto include = [&](const std::string& wanted, const MofPosition& at) {
            file(find(wanted, folder, at));
        };
        try {
            parseMof(text, repository_, nameSpace_, include);
        } catch (const MofFault& fault) {
            throw std::runtime_error(name + ":" + std::to_string(fault.at.line) + ":" +
                                     std::to_string(fault.at.column) + ": " + fault.text);
        }
    }

private:
    fs::path find(const std::string& wanted, const fs::path& folder, const MofPosition& at) const
    {
        std::vector<fs::path> folders{folder.empty() ? fs::path(".") : folder};
        folders.insert(folders.end(), searchPath_.begin(), searchPath_.end());
        std::string tried;
        for (const fs::path& candidate : folders) {
            std::error_code ignored;
            if (fs::is_regular_file(candidate / wanted, ignored)) return candidate / wanted;
            tried += (tried.empty() ? "" : ", ") + candidate.string();
        }
        throw MofFault{at, "cannot find the file to include, \"" + wanted + "\", in " + tried};
    }

    Repository& repository_;
    const CIMNamespaceName& nameSpace_;
    const std::vector<fs::path> searchPath_;
    std::set<fs::path> done_;
};

}  // namespace

void compileMof(Repository& repository, const CIMNamespaceName& nameSpace, const fs::path& file,
                const std::vector<fs::path>& searchPath)
{
    Compilation(repository, nameSpace, searchPath).file(file);
}

void compileMofText(Repository& repository, const CIMNamespaceName& nameSpace,
                    const std::string& text, const std::string& name)
{
    Compilation(repository, nameSpace, {}).text(text, name, fs::path());
}

}  // namespace cimom
