#include "platform/windows/firewall_rule.h"

#include "platform/windows/wide_text.h"

// netfw.h needs windows.h first.
#include <windows.h>

#include <netfw.h>
#include <oleauto.h>

namespace cvl {

namespace {

// The firewall's classes, as Windows names them.
constexpr CLSID kPolicyClass = {
    0xE2B3C97F, 0x6AE1, 0x41AC, {0x81, 0x7A, 0xF6, 0xF9, 0x21, 0x66, 0xD7, 0xDD}};
constexpr CLSID kRuleClass = {
    0x2C5BC43E, 0x3369, 0x4C33, {0xAB, 0x0C, 0xBE, 0x94, 0x69, 0x67, 0x7A, 0xF4}};

// Every protocol (NET_FW_IP_PROTOCOL_ANY, which mingw's header leaves out).
constexpr LONG kAnyProtocol = 256;

class ComSession {
public:
    ComSession()
        : ready_(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) {}
    ~ComSession() {
        if (ready_) {
            CoUninitialize();
        }
    }
    ComSession(const ComSession&) = delete;
    ComSession& operator=(const ComSession&) = delete;

private:
    bool ready_;
};

template <typename T> void release(T*& object) {
    if (object != nullptr) {
        object->Release();
        object = nullptr;
    }
}

// The rules of the firewall's policy, or null.
INetFwRules* policyRules() {
    INetFwPolicy2* policy = nullptr;
    if (FAILED(CoCreateInstance(kPolicyClass, nullptr, CLSCTX_INPROC_SERVER,
                                __uuidof(INetFwPolicy2), reinterpret_cast<void**>(&policy)))) {
        return nullptr;
    }
    INetFwRules* rules = nullptr;
    if (FAILED(policy->get_Rules(&rules))) {
        rules = nullptr;
    }
    release(policy);
    return rules;
}

} // namespace

bool removeFirewallRule() {
    const ComSession com;
    INetFwRules* rules = policyRules();
    if (rules == nullptr) {
        return false;
    }
    BSTR name = SysAllocString(wideFromUtf8(kFirewallRuleName).c_str());
    // Remove takes one rule of the name at a time; a few are as many as ever were added.
    for (int i = 0; i < 8 && SUCCEEDED(rules->Remove(name)); ++i) {
    }
    SysFreeString(name);
    release(rules);
    return true;
}

bool addFirewallRule(const std::string& program) {
    removeFirewallRule();
    const ComSession com;
    INetFwRules* rules = policyRules();
    if (rules == nullptr) {
        return false;
    }
    INetFwRule* rule = nullptr;
    bool added = false;
    if (SUCCEEDED(CoCreateInstance(kRuleClass, nullptr, CLSCTX_INPROC_SERVER, __uuidof(INetFwRule),
                                   reinterpret_cast<void**>(&rule)))) {
        BSTR name = SysAllocString(wideFromUtf8(kFirewallRuleName).c_str());
        BSTR application = SysAllocString(wideFromUtf8(program).c_str());
        BSTR description =
            SysAllocString(L"Daytime, Time, NTP/SNTP, Unix time and the client protocol");
        rule->put_Name(name);
        rule->put_Description(description);
        rule->put_ApplicationName(application);
        rule->put_Protocol(kAnyProtocol); // TCP and UDP, on whatever ports are set
        rule->put_Direction(NET_FW_RULE_DIR_IN);
        rule->put_Action(NET_FW_ACTION_ALLOW);
        rule->put_Profiles(NET_FW_PROFILE2_ALL);
        rule->put_Enabled(VARIANT_TRUE);
        added = SUCCEEDED(rules->Add(rule));
        SysFreeString(name);
        SysFreeString(application);
        SysFreeString(description);
        release(rule);
    }
    release(rules);
    return added;
}

} // namespace cvl
