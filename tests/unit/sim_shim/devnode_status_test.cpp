#include <string>

#include "base/windows_api.h"

#include <cfgmgr32.h>

#include "sim/control/control_protocol.h"
#include "tests/unit/sim_shim/scratch_device.h"

namespace {

// What the simulator writes for one of its nodes, removed at the end.
class DeclaredNode {
  public:
    DeclaredNode(const std::wstring& keyName, DWORD present, DWORD problem)
        : path_(std::wstring(kSimNodesKey) + L"\\" + keyName) {
        RegistryKey key;
        EXPECT_EQ(RegCreateKeyExW(HKEY_LOCAL_MACHINE, path_.c_str(), 0, nullptr, REG_OPTION_VOLATILE,
                                  KEY_ALL_ACCESS, nullptr, key.put(), nullptr),
                  ERROR_SUCCESS);
        SetNumber(key, kSimNodePresentValue, present);
        SetNumber(key, kSimNodeProblemValue, problem);
    }
    ~DeclaredNode() { RegDeleteKeyW(HKEY_LOCAL_MACHINE, path_.c_str()); }
    DeclaredNode(const DeclaredNode&) = delete;
    DeclaredNode& operator=(const DeclaredNode&) = delete;

  private:
    static void SetNumber(const RegistryKey& key, const wchar_t* name, DWORD number) {
        RegSetValueExW(key.get(), name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof(number));
    }
    std::wstring path_;
};

class DevNodeStatusTest : public ScratchDeviceTest {
  protected:
    CONFIGRET Query() { return CM_Get_DevNode_Status(&status, &problem, element.DevInst, 0); }
    std::wstring KeyName() {
        wchar_t id[MAX_DEVICE_ID_LEN] = {};
        EXPECT_TRUE(SetupDiGetDeviceInstanceIdW(set.get(), &element, id, MAX_DEVICE_ID_LEN, nullptr));
        CharUpperW(id);
        std::wstring name(id);
        for (wchar_t& character : name) {
            if (character == L'\\') character = L'#';
        }
        return name;
    }
    ULONG status = 12345;
    ULONG problem = 12345;
};

TEST_F(DevNodeStatusTest, ANodeThatTheRegistryKnowsIsStarted) {
    ASSERT_EQ(Query(), CR_SUCCESS);
    EXPECT_EQ(status & (DN_STARTED | DN_HAS_PROBLEM), static_cast<ULONG>(DN_STARTED));
    EXPECT_EQ(problem, 0u);
}

TEST_F(DevNodeStatusTest, ADeclaredProblemIsReported) {
    const DeclaredNode declared(KeyName(), 1, CM_PROB_FAILED_START);
    ASSERT_EQ(Query(), CR_SUCCESS);
    EXPECT_EQ(status & (DN_STARTED | DN_HAS_PROBLEM), static_cast<ULONG>(DN_HAS_PROBLEM));
    EXPECT_EQ(problem, static_cast<ULONG>(CM_PROB_FAILED_START));
}

TEST_F(DevNodeStatusTest, ANodeDeclaredAbsentIsNotThere) {
    const DeclaredNode declared(KeyName(), 0, 0);
    EXPECT_EQ(Query(), static_cast<CONFIGRET>(CR_NO_SUCH_DEVNODE));
    EXPECT_EQ(status, 12345u);
    EXPECT_EQ(problem, 12345u);
}

TEST_F(DevNodeStatusTest, ANodeThatTheRegistryHasLostIsNotThere) {
    const DWORD node = element.DevInst;
    set.reset();
    EXPECT_EQ(CM_Get_DevNode_Status(&status, &problem, node, 0), static_cast<CONFIGRET>(CR_NO_SUCH_DEVNODE));
}

TEST_F(DevNodeStatusTest, BadArgumentsAreRefused) {
    EXPECT_EQ(CM_Get_DevNode_Status(nullptr, &problem, element.DevInst, 0),
              static_cast<CONFIGRET>(CR_INVALID_POINTER));
    EXPECT_EQ(CM_Get_DevNode_Status(&status, nullptr, element.DevInst, 0),
              static_cast<CONFIGRET>(CR_INVALID_POINTER));
    EXPECT_EQ(CM_Get_DevNode_Status(&status, &problem, element.DevInst, 1),
              static_cast<CONFIGRET>(CR_INVALID_FLAG));
    EXPECT_EQ(CM_Get_DevNode_Status(&status, &problem, 0x7FFFFFFF, 0),
              static_cast<CONFIGRET>(CR_NO_SUCH_DEVNODE));
}

}  // namespace
