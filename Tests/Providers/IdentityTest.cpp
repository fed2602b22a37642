// The identity of the storage system is read once per process, so these tests follow each other in
// one program of their own.
#include "RecordingApi.h"

#include "QBX_Common.h"

#include <Pegasus/Provider/CIMOMHandle.h>

#include <gtest/gtest.h>

using namespace Pegasus;

namespace
{

using Texts = std::vector<std::string>;

std::string utf8(const String& text)
{
    return std::string(static_cast<const char*>(text.getCString()));
}

TEST(SystemIdentity, IsAskedForUntilBothNamesCameOnceAndNeverAgain)
{
    RecordingApi& api = RecordingApi::get();
    api.reset();
    CIMOMHandle handle;
    const Texts query = {"api_getStorageArray()"};  // outside the semaphore

    api.status = {{"api_getStorageArray", 1}};
    EXPECT_EQ(utf8(QBX_Common::getSystemHostName(handle)), "");
    EXPECT_EQ(api.calls(), query);
    EXPECT_EQ(api.log(), (Texts{"2: QBX_Common::initSystemInfo: getStorageArray failed\n"}));

    // A record without its second name is used, and asked for again.
    api.events.clear();
    api.status.clear();
    put(api.array.name, "");
    EXPECT_EQ(utf8(QBX_Common::getSystemHostName(handle)), "array1");
    EXPECT_EQ(utf8(QBX_Common::getSystemName(handle)), "");
    EXPECT_EQ(api.events, (Texts{"api_getStorageArray()", "api_getStorageArray()"}));

    // A failure after that leaves what was there.
    api.events.clear();
    api.status = {{"api_getStorageArray", 1}};
    EXPECT_EQ(utf8(QBX_Common::getSystemHostName(handle)), "array1");

    api.events.clear();
    api.status.clear();
    put(api.array.elementName, std::string(256, 'h'));
    put(api.array.name, "Syst\xE8me");
    api.array.isQuadPort = 2;
    EXPECT_EQ(utf8(QBX_Common::getSystemName(handle)), "Syst\xEF\xBF\xBDme");
    EXPECT_EQ(api.calls(), query);

    put(api.array.elementName, "renamed");
    EXPECT_EQ(utf8(QBX_Common::getSystemHostName(handle)), std::string(256, 'h'));
    EXPECT_TRUE(QBX_Common::isQuadPortSystem(handle));
    EXPECT_EQ(api.calls(), query) << "no query after the first complete answer";
}

}  // namespace
