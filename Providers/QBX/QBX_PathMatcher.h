// Whether object paths denote the same object.
#ifndef QBX_PathMatcher_h
#define QBX_PathMatcher_h

#include <Pegasus/Common/CIMObjectPath.h>

#include <vector>

namespace Pegasus
{

/// One object path that many are compared with: it is read once.
class QBX_PathMatcher
{
public:
    /// Reads the path that others are compared with.
    explicit QBX_PathMatcher(const CIMObjectPath& path);
    ~QBX_PathMatcher();
    QBX_PathMatcher(const QBX_PathMatcher&) = delete;
    QBX_PathMatcher& operator=(const QBX_PathMatcher&) = delete;

    /// True when both paths denote the same object, see QBX_Common::matchObjectPath().
    bool matches(const CIMObjectPath& other) const;

private:
    struct Key;

    const CIMObjectPath _path;
    std::vector<Key> _keys;
};

}  // namespace Pegasus

#endif
