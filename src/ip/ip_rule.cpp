#include "ip/ip_rule.h"

#include <ruleset.h>

#include "core/entry.h"
#include "core/library_option.h"
#include "core/memory.h"
#include "core/text_rule.h"

namespace rs {

int32_t parseIpRule(Text text, AddressSpec* record) noexcept {
    if (record == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    record->addressFlags = 0;
    const int32_t status = parseIPv4Range(text, record);
    if (status == RULE_OK || ipv6Enabled == 0) {
        return status;
    }
    record->addressFlags = 0;
    return parseIPv6Range(text, record);
}

IpRule* makeIpRule(const char* text, uint32_t length, const RuleValues& values,
                   int32_t* status) noexcept {
    return makeRuleRecord<IpRule, freeIpRule>(status, [&](IpRule& rule) noexcept {
        copyRuleValues(values, rule);
        const int32_t parsed = parseIpRule({text, length}, &rule.addresses);
        return parsed == RULE_OK ? RULE_OK : RULE_ERR_BAD_RULE;
    });
}

void freeIpRule(IpRule* rule) noexcept {
    freeMemory(rule);
}

}  // namespace rs
