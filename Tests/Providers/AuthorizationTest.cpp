// The privilege checks of storage methods: which key is asked for, in which order, and when nobody
// is asked.
#include "ProviderTest.h"
#include "QBX_VolumeAuthorization.h"

#include "QBX_Common.h"

namespace
{

using Parameters = Array<CIMParamValue>;
using Check = std::function<int(const String&, const Parameters&)>;

int allocatedFromStoragePool(const String& user, const Parameters& keys)
{
    Keys texts;
    for (Uint32 i = 0; i < keys.size(); ++i) {
        String text;
        keys[i].getValue().get(text);
        texts.push_back({str(keys[i].getParameterName()), str(text)});
    }
    return authorize_AllocatedFromStoragePoolModifyInstance(
        user, pathOf("QBX_AllocatedFromStoragePool", texts));
}

QBX_VolumeKind kindByName(const CIMObjectPath& volume)
{
    static const std::map<std::string, QBX_VolumeKind> kinds = {
        {"Base", QBX_VolumeKind::BaseVolume},
        {"Physical", QBX_VolumeKind::PhysicalCopy},
        {"Virtual", QBX_VolumeKind::VirtualCopy},
        {"Any", QBX_VolumeKind::Volume},
        {"QBX_StorageVolume", QBX_VolumeKind::NotAVolume}};
    return kinds.at(str(volume.getClassName()));
}

/// By the name without "authorize_".
const std::map<std::string, Check> CHECKS = {
    {"ReplicationServiceCapabilitiesMethod", authorize_ReplicationServiceCapabilitiesMethod},
    {"CreateGroupReplica", authorize_CreateGroupReplica},
    {"CreateElementReplica", authorize_CreateElementReplica},
    {"ModifyReplicaSynchronization", authorize_ModifyReplicaSynchronization},
    {"ModifyListSynchronization", authorize_ModifyListSynchronization},
    {"ModifyListSynchronizationByKind",
     [](const String& user, const Parameters& in) {
         return authorize_ModifyListSynchronizationByKind(user, in, kindByName);
     }},
    {"ModifySynchronization", authorize_ModifySynchronization},
    {"CreateOrModifyStoragePool", authorize_CreateOrModifyStoragePool},
    {"CreateOrModifyElemFromStoragePool", authorize_CreateOrModifyElemFromStoragePool},
    {"DeleteStoragePool", authorize_DeleteStoragePool},
    {"AllocatedFromStoragePoolModifyInstance", allocatedFromStoragePool},
    {"DeleteStorageVolume", authorize_DeleteStorageVolume},
    {"DeleteStorageVolumeByKind",
     [](const String& user, const Parameters& in) {
         return authorize_DeleteStorageVolumeByKind(user, in, kindByName);
     }},
};

class AuthorizationTest : public ProviderTest
{
protected:
    /// The check must ask for these keys in order, and end with the first that is refused.
    void expectAsked(const std::string& function, const std::string& in, const std::string& keys)
    {
        SCOPED_TRACE(function + " " + in);
        Texts wanted = keys == "passes" ? Texts{} : split(keys);
        for (std::string& key : wanted)
            std::replace(key.begin(), key.end(), '~', ' ');
        for (std::size_t refused = 0; refused <= wanted.size(); ++refused) {  // 0: none
            for (const int decision : {1, 2, 3}) {
                array.mend();
                if (refused != 0)
                    array.fail("api_authorizeCIMUser", decision, static_cast<unsigned>(refused));
                const int unasked = keys.empty() ? 3 : 0;
                EXPECT_EQ(CHECKS.at(function)("joe", parameters(in)),
                          refused == 0 ? unasked : decision);
                Texts asked;
                for (std::size_t i = 1; i <= (refused == 0 ? wanted.size() : refused); ++i) {
                    asked.push_back("api_authorizeCIMUser(\"joe\", \"" + wanted[i - 1] +
                                    "\") = " + std::to_string(i == refused ? decision : 0));
                }
                EXPECT_EQ(array.calls(), asked);
            }
        }
    }
};

TEST_F(AuthorizationTest, EveryCallAsksForItsKeys)
{
    for (const Texts& row : table("authorization", 3))
        expectAsked(row[0], row[1], row[2]);
}

TEST_F(AuthorizationTest, OtherNumbersAndOtherTypesSelectNothing)
{
    const std::vector<Texts> rows = table("authorization", 3);
    const std::pair<const char*, std::string> numbered[] = {
        {"CreateGroupReplica", "mode=u16:65535 SYNCTYPE="},
        {"CreateElementReplica", "mode=u16:65535 SYNCTYPE="},
        {"ModifyReplicaSynchronization", "operation="},
        {"ModifyListSynchronization", "operation="},
        {"ModifySynchronization", "OPERATION="}};
    for (const auto& [function, parameter] : numbered) {
        for (int number = 0; number <= 258; ++number) {
            const std::string in = parameter + "u16:" + std::to_string(number);
            const bool isKnown = std::any_of(rows.begin(), rows.end(), [&](const Texts& row) {
                return row[0] == function && row[1] == in;
            });
            if (!isKnown) {
                expectAsked(function, in, "");
                continue;
            }
            for (const char* type : {"str:", "u8:", "u32:", "s16:", "u16[]:"})
                expectAsked(function, parameter + type + std::to_string(number), "");
        }
    }
}

TEST_F(AuthorizationTest, EveryParameterOfAVolumeIsTracedWithoutNewline)
{
    authorize_CreateOrModifyElemFromStoragePool("joe", parameters("Size=u64:1 100%s=str:null"));
    EXPECT_EQ(array.log(), (Texts{"4: Param Size", "4: Param 100%s"}));
}

}  // namespace
