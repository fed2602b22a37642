// What wants another Storage-system API than the simulated array: a library that has the listed
// operations only, and answers that a good array does not give. The identity of the storage system
// is read once per process, so its test is in a program of its own.
#include "QBX_Frame.h"

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <cstring>
#include <string>
#include <vector>

using namespace Pegasus;

namespace
{

using Texts = std::vector<std::string>;

api_StorageArray_t answer;  ///< of the array, also when it fails
int status = 0;
Texts events;  ///< "query", and log lines before they are formatted

std::string utf8(const String& text)
{
    return std::string(static_cast<const char*>(text.getCString()));
}

TEST(ArrayLibrary, NeedsTheListedOperationsOnly)
{
    EXPECT_NE(dlopen(QBX_MODULE, RTLD_NOW), nullptr) << dlerror();
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "api_getNodeIPaddress"), nullptr);
    EXPECT_EQ(utf8(QBX_Common::getSystemAddress()), "");
}

TEST(ArrayLibrary, GetsTraceTextsAsFormats)
{
    events.clear();
    CIMOMHandle handle;
    QBX_Frame::trace("a line\n");
    QBX_Common::getSystemPkgObjectPath(handle);  // nobody to ask
    EXPECT_EQ(events.front(), "4: a line\n");
    EXPECT_EQ(events.back(), "2: cannot get at system pkg object path\n");
}

TEST(SystemIdentity, IsQueriedUntilItHasHostNameAndNameOnce)
{
    CIMOMHandle handle;
    const auto host = [&handle] { return utf8(QBX_Common::getSystemHostName(handle)); };
    const auto name = [&handle] { return utf8(QBX_Common::getSystemName(handle)); };
    const Texts failed = {"query", "2: QBX_Common::initSystemInfo: getStorageArray failed\n"};
    events.clear();

    status = 1;
    EXPECT_EQ(host(), "");
    EXPECT_EQ(events, failed);

    // A record without a host name and a name is used, and queried again.
    status = 0;
    events.clear();
    std::strcpy(answer.name, "half");
    EXPECT_EQ(name() + host(), "half");
    std::strcpy(answer.elementName, "array1");
    std::strcpy(answer.name, "");
    EXPECT_EQ(host() + name(), "array1");
    EXPECT_EQ(events, Texts(4, "query"));

    // Whatever comes with a failure is not used.
    status = 1;
    std::strcpy(answer.name, "doubtful");
    events.clear();
    EXPECT_EQ(name(), "");
    EXPECT_EQ(events, failed);

    status = 0;
    std::memset(answer.elementName, 'h', sizeof(answer.elementName));
    std::strcpy(answer.name, "Syst\xE8me");
    answer.isQuadPort = 2;
    events.clear();
    EXPECT_EQ(name(), "Syst\xEF\xBF\xBDme");
    std::strcpy(answer.elementName, "renamed");
    EXPECT_EQ(host(), std::string(256, 'h'));
    EXPECT_TRUE(QBX_Common::isQuadPortSystem(handle));
    EXPECT_EQ(events, Texts{"query"}) << "no query after the first complete answer";
}

}  // namespace

extern "C" {

int api_getStorageArray(api_StorageArray_t* array)
{
    events.push_back("query");
    *array = answer;
    return status;
}

void log_message(int level, const char* format, ...)
{
    events.push_back(std::to_string(level) + ": " + format);
}

}  // extern "C"
