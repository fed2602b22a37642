// The operations by which clients pull results in parts.
#pragma once

#include "CimXml/Call.h"

#include <string>
#include <vector>

namespace cimom
{

/// Those, and the parameters that all Open operations take.
std::vector<std::string> openParameters(std::vector<std::string> own);

void openEnumerateInstances(const Call&, ReplyWriter&);
void openEnumerateInstancePaths(const Call&, ReplyWriter&);
void openAssociatorInstances(const Call&, ReplyWriter&);
void openAssociatorInstancePaths(const Call&, ReplyWriter&);
void openReferenceInstances(const Call&, ReplyWriter&);
void openReferenceInstancePaths(const Call&, ReplyWriter&);
void pullInstancesWithPath(const Call&, ReplyWriter&);
void pullInstancePaths(const Call&, ReplyWriter&);
void closeEnumeration(const Call&, ReplyWriter&);

}  // namespace cimom
