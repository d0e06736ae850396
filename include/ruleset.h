/*
 * ruleset: decides whether an address, a host name or a URL is covered by a rule.
 *
 *     rule text --add--> RuleSet --build--> RuleGroup --match--> MatchResult
 *
 * A host creates a RuleSet of one rule type, adds rule texts to it one at a time, compiles it into
 * a read-only RuleGroup and asks the group which rule covers a key. Where several rules cover it,
 * the earliest one added wins.
 *
 *     RuleSet *set = NULL;
 *     RuleGroup *group = NULL;
 *     MatchResult hit;
 *     rs_newRuleSet(RULE_TYPE_IP, &set);
 *     rs_addRuleToRuleSet(set, "10.0.0.0/8", 10, 7, 1);
 *     rs_buildRuleGroup(set, &group);
 *     rs_delRuleSet(&set);
 *     if (rs_matchIPRuleGroup(group, 0x0A010203, &hit) == 1) { ... hit.ruleValue is 7 ... }
 *     rs_delRuleGroup(&group);
 *
 * Conventions that hold for every function:
 *
 * - Every function returns a status: RULE_OK (0) or a negative RULE_ERR_ code; matchers return 1 for
 *   a match and 0 for none. Nothing is thrown, logged or printed.
 * - A text is bytes and a length in bytes. It needs no terminating NUL, is only read during the call,
 *   and no pointer to it is kept.
 * - An output is written on success only, unless its function says otherwise.
 * - Delete functions take the address of the caller's pointer, accept a pointer to null, and set it
 *   to null.
 * - The library starts no thread and takes no lock:
 *
 *       function                              may run at the same time as
 *       rs_match...                           any other match, also in the same group
 *       rs_validate..., rs_convert...,
 *       rs_normalize_URL                      anything
 *       rs_new..., rs_add..., rs_register...,
 *       rs_build..., rs_del...                calls that touch other sets and groups only
 *
 *   Two groups built from one set are independent of each other and of the set.
 * - userData belongs to the caller. A set only borrows it. A group gives it back through the
 *   RuleReleaseCallback that was registered on the set when the group was built: at most once per
 *   rule and group, never a null one. Two groups built from one set each give it back.
 */
#ifndef RULESET_H
#define RULESET_H

#include <stdint.h>

#if defined(__GNUC__)
#define RS_API __attribute__((visibility("default")))
#else
#define RS_API
#endif

#if defined(__cplusplus)
#define RS_NOEXCEPT noexcept
extern "C" {
#else
#define RS_NOEXCEPT
#endif

/* ------------------------------------------------------------------------------------------------
 * Statuses
 * --------------------------------------------------------------------------------------------- */

#define RULE_OK 0                   /* success */
#define RULE_ERR_FAILED (-1)        /* an unknown callback kind; a text that cannot be converted */
#define RULE_ERR_BUFFER_SMALL (-85) /* a caller's buffer is too small; a key to match is too long */
#define RULE_ERR_BAD_TYPE (-86)     /* the set's rule type is not one that takes rules */
#define RULE_ERR_EXISTS (-89)       /* internal: an equal element is already stored */
#define RULE_ERR_BAD_SCHEME (-91)   /* a URL rule names a scheme other than http and https */
#define RULE_ERR_NO_MEMORY (-98)    /* an allocation or a build failed; no room for a rule's text */
#define RULE_ERR_INVALID_ARG (-99) /* a required pointer is null, a length or ruleId is zero, ... */
#define RULE_ERR_DUPLICATE (-4083) /* internal: an equal rule is already in the group */
#define RULE_ERR_BAD_RANGE (-4085) /* a range validator refuses its text */
#define RULE_ERR_BAD_RULE (-4089)  /* a rule text is not well formed */
#define RULE_ERR_SET_FULL (-4090)  /* the set already holds 4294967295 rules */

/* ------------------------------------------------------------------------------------------------
 * Rule types
 * --------------------------------------------------------------------------------------------- */

#define RULE_TYPE_IP 1            /* IPv4 and IPv6 addresses, ranges and prefixes */
#define RULE_TYPE_FQDN 2          /* host names */
#define RULE_TYPE_URL 3           /* URLs */
#define RULE_TYPE_IP_ALT 4        /* the same as RULE_TYPE_IP */
#define RULE_TYPE_PACKET_FILTER 5 /* protocol and two endpoints */
#define RULE_TYPE_IP_PORT 6       /* two endpoints and a mask */
#define RULE_TYPE_COMPOUND 7      /* numeric ranges and addresses */

/* The one kind of callback that rs_registerRuleCallback knows. */
#define RULE_CALLBACK_RELEASE 1

/* ------------------------------------------------------------------------------------------------
 * Records
 * --------------------------------------------------------------------------------------------- */

/* An ordered collection of parsed rules of one type; made by rs_newRuleSet. */
typedef struct RuleSet RuleSet;

/* A compiled, read-only rule set; made by rs_buildRuleGroup. */
typedef struct RuleGroup RuleGroup;

/* The winning rule of a lookup. The caller owns the record; the ABI fixes its layout. */
typedef struct MatchResult {
    uint32_t ruleIndex; /* 1-based position of the rule among the rules added to its set */
    uint32_t ruleValue; /* as given when the rule was added */
    uint32_t ruleId;    /* as given when the rule was added; never 0 */
    void* userData;     /* as given when the rule was added; still the group's */
} MatchResult;

/* The canonical fields of a URL. The caller owns the record and its three buffers, gives each
 * buffer's capacity in bytes in its length field and gets the used length back there. The ABI fixes
 * the layout. No field is NUL-terminated. The bytes of a buffer after the used length are unspecified. */
typedef struct NormalizedUrl {
    char* scheme;          /* in: buffer for the scheme */
    uint32_t schemeLength; /* in: capacity; out: length, 0 without a scheme */
    char* host;            /* in: buffer for the host */
    uint32_t hostLength;   /* in: capacity; out: length, 0 without a host */
    char* path;            /* in: buffer for the path, query and fragment */
    uint32_t pathLength;   /* in: capacity; out: length */
    uint16_t port;         /* out: the port, 0 when the URL has none */
    uint8_t keepPathCase;  /* in: bit 0 keeps the letter case of the path */
    uint8_t shortField;    /* out, with RULE_ERR_BUFFER_SMALL: 1 scheme, 2 host, 3 path */
} NormalizedUrl;

/* An address rule as a pair of addresses. The caller owns the record; the ABI fixes its layout. */
typedef struct ConvertedRange {
    uint32_t family;          /* 4 or 6 */
    uint8_t startAddress[16]; /* first address, network byte order; 4 bytes used in family 4 */
    uint8_t endAddress[16];   /* last address, likewise */
} ConvertedRange;

/* Takes ownership of a rule's userData back. Called from rs_buildRuleGroup for a rule that earlier
 * rules make superfluous, and for the rules that had entered when a build fails; called from
 * rs_delRuleGroup for the rules that the group holds. It runs on the calling thread and must not call
 * into the library with the same set or group. It must return: both functions are noexcept, and what
 * they do would stay half done after an exception or a longjmp. */
typedef void (*RuleReleaseCallback)(void* userData, void* releaseContext);

/* ------------------------------------------------------------------------------------------------
 * Rule sets
 * --------------------------------------------------------------------------------------------- */

/* Creates an empty rule set for rules of one type.
 *   type  a RULE_TYPE_ value, 1 to 7
 *   out   receives the set; the caller frees it with rs_delRuleSet
 * Returns RULE_OK; RULE_ERR_INVALID_ARG when out is null or type is outside 1..7;
 * RULE_ERR_NO_MEMORY. Cost: one small allocation. */
RS_API int32_t rs_newRuleSet(int32_t type, RuleSet** out) RS_NOEXCEPT;

/* Adds a rule without userData: rs_addRuleToRuleSetEx with a null userData. */
RS_API int32_t rs_addRuleToRuleSet(RuleSet* set, const char* text, uint32_t length,
                                   uint32_t ruleValue, uint32_t ruleId) RS_NOEXCEPT;

/* Parses one rule text and appends the rule to the set. Its position, counted from 1, is the
 * ruleIndex that lookups report.
 *   text, length  the rule in the grammar of the set's type; blanks around it are ignored
 *   ruleValue     any number; reported with a match. IP rules for the same addresses are equal only
 *                 when their ruleValues are equal too
 *   ruleId        any number but 0; reported with a match
 *   userData      any pointer, or null; borrowed by the set, see RuleReleaseCallback
 * Returns RULE_OK, or one of these, with the set left as it was. The first four are checked in this
 * order, before the text is read:
 *   RULE_ERR_INVALID_ARG  set is null or ruleId is 0
 *   RULE_ERR_BAD_TYPE     the set's type takes no rules
 *   RULE_ERR_SET_FULL     the set holds 4294967295 rules
 *   RULE_ERR_INVALID_ARG  text is null
 *   RULE_ERR_NO_MEMORY    an allocation failed; or the canonical form of a host name or URL has no
 *                         room in the largest of length + 16, length + 32 ... bytes that is below
 *                         8192, or in length + 16 bytes when that is 8192 or more
 *   RULE_ERR_BAD_SCHEME   a URL rule names a scheme other than http and https
 *   RULE_ERR_BAD_RULE     the text is not well formed; an empty one never is. A compound rule
 *                         answers this, too, when the allocation for an item of its lists failed
 * Cost: linear in the length of the text. An IP rule is one allocation; a host name, a URL and a rule
 * with two endpoints are two; a compound rule is two, and one for each item of its four lists. */
RS_API int32_t rs_addRuleToRuleSetEx(RuleSet* set, const char* text, uint32_t length,
                                     uint32_t ruleValue, uint32_t ruleId, void* userData)
    RS_NOEXCEPT;

/* Registers the callback that groups built from now on give userData back through; it replaces an
 * earlier one, and null takes it away. Groups already built keep what they were built with.
 *   kind      RULE_CALLBACK_RELEASE (1)
 *   context   passed to every call of the callback
 * Returns RULE_OK; RULE_ERR_INVALID_ARG when set is null; RULE_ERR_FAILED for any other kind. */
RS_API int32_t rs_registerRuleCallback(RuleSet* set, int32_t kind, RuleReleaseCallback callback,
                                       void* context) RS_NOEXCEPT;

/* Frees a set and its rules and sets *set to null. userData is not touched, and groups built from
 * the set live on.
 * Returns RULE_OK, also when *set is null; RULE_ERR_INVALID_ARG when set is null.
 * Cost: linear in the number of rules. */
RS_API int32_t rs_delRuleSet(RuleSet** set) RS_NOEXCEPT;

/* ------------------------------------------------------------------------------------------------
 * Rule groups
 * --------------------------------------------------------------------------------------------- */

/* Compiles a set into a group. The set stays the caller's and can be added to, built again or
 * freed; the group does not refer to it.
 *   set   the rules; an empty set gives a group in which nothing matches
 *   out   receives the group; the caller frees it with rs_delRuleGroup
 * An IP rule that earlier rules make superfluous does not enter the group, nor does a domain rule for
 * a name that is there already. Its userData is given back during the call: that of a domain rule in
 * every build, that of an IP rule only once, in the first build with a callback registered. A second
 * domain rule "*" does not enter either. The userData of a rule "*" is never given back.
 * Some rules are left out when memory runs out for them, and the call returns RULE_OK nevertheless:
 *   IP        a range, for lookups in family 4, in family 6 or in both. Its userData is given back
 *             during the call if it entered for neither family yet, else with the group
 *   domain    a rule; its userData stays the caller's
 *   URL       a rule; its userData stays the caller's
 * rulesLeftOut of <ruleset_static.h> counts them.
 * Returns RULE_OK; RULE_ERR_INVALID_ARG when set or out is null; RULE_ERR_BAD_TYPE when the set's
 * type is outside 1..7; RULE_ERR_NO_MEMORY when the build fails, whatever the reason. A failed build
 * has given back the userData of the rules that had entered the unfinished group, except of domain
 * rules "*". A later build of the set gives what has entered then back with its group, also what a
 * failed build has given back before. */
RS_API int32_t rs_buildRuleGroup(RuleSet* set, RuleGroup** out) RS_NOEXCEPT;

/* Drops the caller's reference to a group and sets *group to null. With the last reference the
 * group is freed and every userData that it holds is given back, except in a group of domain rules.
 * There the userData of the rule "*" never goes back, and of names that are stored together only
 * that of one does: docs/ownership.md shows which. No thread may be matching in the group then.
 * Returns RULE_OK, also when *group is null; RULE_ERR_INVALID_ARG when group is null.
 * Cost: linear in the number of rules. */
RS_API int32_t rs_delRuleGroup(RuleGroup** group) RS_NOEXCEPT;

/* ------------------------------------------------------------------------------------------------
 * Lookups
 * --------------------------------------------------------------------------------------------- */

/* Looks an IPv4 address up in a group of IP rules.
 *   address   the address as a number in host byte order: 10.0.0.1 is 0x0A000001
 *   result    receives the winning rule; left alone when there is none
 * Returns 1 when a rule covers the address, 0 when none does; RULE_ERR_INVALID_ARG when group or
 * result is null or the group holds no IP rules' structure (a group of another type).
 * Any number of threads may match in one group. Allocates nothing.
 * Cost: a few cache misses, among a million rules as among a thousand. */
RS_API int32_t rs_matchIPRuleGroup(const RuleGroup* group, uint32_t address, MatchResult* result)
    RS_NOEXCEPT;

/* Looks an IPv4 or IPv6 address up in a group of IP rules.
 *   family    4 or 6
 *   address   4 or 16 bytes in network byte order; needs no alignment
 *   result    as in rs_matchIPRuleGroup
 * An IPv4 rule also covers its addresses in IPv4-mapped form (::ffff:a.b.c.d, RFC 4291 section
 * 2.5.5.2) in family 6, and an IPv6 rule that lies in that block covers them in family 4.
 * Returns as rs_matchIPRuleGroup, and RULE_ERR_INVALID_ARG also for a null address or another
 * family. Threads and cost as there. */
RS_API int32_t rs_matchIPRuleGroupEx(const RuleGroup* group, int32_t family, const void* address,
                                     MatchResult* result) RS_NOEXCEPT;

/* Looks a host name up in a group of domain rules.
 *   name, length  the name as users write it: any letter case, a trailing dot, UTF-8, escapes and
 *                 Punycode labels ("xn--", RFC 3492) all meet the same rules
 *   result        receives the winning rule; when there is none, its ruleIndex is set to 0
 * Returns 1 when a rule covers the name, 0 when none does; RULE_ERR_INVALID_ARG for a null group,
 * name or result, a zero length, a group without domain rules' index, and a name that has no labels
 * or an empty one ("a..b") or one over 255 bytes; RULE_ERR_BUFFER_SMALL when the canonical form has
 * no room in the largest of length + 16, length + 32 ... bytes that is below 8192, or in length + 16
 * bytes when that is 8192 or more; RULE_ERR_NO_MEMORY, for names over 8000 bytes only.
 * Any number of threads may match in one group. Names of ordinary length allocate nothing.
 * Cost: the name and each of its suffixes are hashed and probed once. */
RS_API int32_t rs_matchDomainNameWithRuleGroup(const RuleGroup* group, const char* name,
                                               uint32_t length, MatchResult* result) RS_NOEXCEPT;

/* Looks a URL up in a group of URL rules.
 *   url, length  the URL; a text without scheme is taken for a host and what follows it. Blanks
 *                around it are not trimmed. User information is ignored; without a port, https means
 *                443 and everything else 80
 *   result       receives the winning rule; when there is none, its ruleIndex is set to 0
 * Returns 1 when a rule covers the URL, 0 when none does; RULE_ERR_INVALID_ARG for a null group, url
 * or result, a zero length, and a group without URL rules' index; RULE_ERR_BAD_RULE for a URL that
 * has neither host nor path, or no host but a scheme or a port; RULE_ERR_BUFFER_SMALL when scheme,
 * user information, host, port and path, each in canonical form, have no room in four times the
 * length, or in 4096 bytes if that is less. An IPv6 literal that has no room for its canonical form
 * is compared as it is written, which no rule is: after 4059 bytes of scheme and user information or
 * more it may be missed without a status.
 * Any number of threads may match in one group. Allocates nothing.
 * Cost: the host and each of its suffixes are hashed and probed once, and the paths of each host
 * found are bisected. What comes after a '*' is searched for in the whole path, for each rule of the
 * host whose path begins like the URL's. */
RS_API int32_t rs_matchUrlWithRuleGroup(const RuleGroup* group, const char* url, uint32_t length,
                                        MatchResult* result) RS_NOEXCEPT;

/* ------------------------------------------------------------------------------------------------
 * Validators
 *
 * Each answers whether a text is well formed, keeps nothing, and may be called from any thread.
 * --------------------------------------------------------------------------------------------- */

/* An IPv4 address, range or prefix: "192.0.2.1", "192.0.2.1-192.0.2.9", "192.0.2.0/24" (the length
 * from 1 to 32), with blanks around it. Fields are decimal without leading zeros.
 * Returns RULE_OK or RULE_ERR_BAD_RANGE, also for a null text. */
RS_API int32_t rs_validate_IPv4Range(const char* text, uint32_t length) RS_NOEXCEPT;

/* An IPv6 address, range or prefix: "2001:db8::1", "2001:db8::1-2001:db8::9", "2001:db8::/32" (the
 * length from 1 to 128), with blanks around it; addresses in the forms of RFC 4291 section 2.2.
 * An IPv4 text is refused.
 * Returns RULE_OK or RULE_ERR_BAD_RANGE, also for a null text. */
RS_API int32_t rs_validate_IPv6Range(const char* text, uint32_t length) RS_NOEXCEPT;

/* A port from 1 to 65535 in at most five digits, or two joined by '-', the first not above the
 * second; no blanks, no list.
 * Returns RULE_OK or RULE_ERR_BAD_RANGE, also for a null or empty text. */
RS_API int32_t rs_validate_PortRange(const char* text, uint32_t length) RS_NOEXCEPT;

/* A rule for a set of type RULE_TYPE_IP or RULE_TYPE_IP_ALT: what rs_validate_IPv4Range or
 * rs_validate_IPv6Range accepts.
 * Returns RULE_OK or RULE_ERR_BAD_RULE, also for a null text. */
RS_API int32_t rs_validateRule_IP(const char* text, uint32_t length) RS_NOEXCEPT;

/* A rule for a set of type RULE_TYPE_FQDN: a host name, one after "*.", or "*".
 * Returns RULE_OK for what can be added; RULE_ERR_BAD_RULE; RULE_ERR_INVALID_ARG for a null text;
 * RULE_ERR_NO_MEMORY for one whose canonical form has no room in 4095 bytes. Adding refuses that one,
 * too: as RULE_ERR_BAD_RULE when its own, larger buffer has room. */
RS_API int32_t rs_validateRule_FQDN(const char* text, uint32_t length) RS_NOEXCEPT;

/* A rule for a set of type RULE_TYPE_URL: an optional http:// or https://, a domain rule or a
 * bracketed IPv6 literal (RFC 3986 section 3.2.2), an optional port or ":*", and an optional path
 * with one '*' at most. User information before the host is dropped; one with a ':' is well formed
 * only if a port, ":*" or an IPv6 literal follows. Blanks around the host are dropped, too.
 * Returns RULE_OK for what can be added; RULE_ERR_BAD_RULE; RULE_ERR_BAD_SCHEME for another scheme;
 * RULE_ERR_INVALID_ARG for a null text; RULE_ERR_NO_MEMORY for one whose canonical form has no room
 * in 4095 bytes. Adding has more room: it may take that one, or answer RULE_ERR_BAD_RULE. */
RS_API int32_t rs_validateRule_URL(const char* text, uint32_t length) RS_NOEXCEPT;

/* A rule for a set of type RULE_TYPE_IP_PORT: addresses, ports, addresses, ports and a mask between
 * semicolons, without blanks inside: "10.0.0.0/8;80,443;*;1-65535;0x10".
 * Returns RULE_OK or RULE_ERR_BAD_RULE, also for a null text. */
RS_API int32_t rs_validateRule_IpPort(const char* text, uint32_t length) RS_NOEXCEPT;

/* A rule for a set of type RULE_TYPE_PACKET_FILTER: "tcp", address, ports, address and ports between
 * semicolons: "tcp;10.0.0.1;80;192.168.0.0/16;1024-65535".
 * Returns RULE_OK or RULE_ERR_BAD_RULE, also for a null text. */
RS_API int32_t rs_validateRule_PacketFilter(const char* text, uint32_t length) RS_NOEXCEPT;

/* ------------------------------------------------------------------------------------------------
 * Converters
 * --------------------------------------------------------------------------------------------- */

/* Turns an IP rule text into the pair of addresses that it covers.
 *   out   receives family and addresses; in family 4 only the first 4 bytes of each are written
 * Returns RULE_OK; RULE_ERR_FAILED for a text that is neither an IPv4 nor an IPv6 range, and for a
 * null text or out. Keeps nothing; may be called from any thread. */
RS_API int32_t rs_convertRule_IP(const char* text, uint32_t length, ConvertedRange* out)
    RS_NOEXCEPT;

/* Writes the canonical fields of a URL into the caller's buffers.
 *   text, length  the URL; blanks around it are ignored. Any scheme is taken, or none
 *   record        buffers and their capacities in, lengths and port out; see NormalizedUrl
 * The scheme is written without "://" in lower case; the host in the form that URL rules store, an
 * IPv6 literal with all eight groups in brackets, an IPv4-mapped one as a dotted quad; the path with
 * query and fragment, percent-escapes decoded and, unless keepPathCase is set, in lower case, "/"
 * for a URL with a host and no path. User information is dropped. Blanks around the host are kept,
 * where a URL rule drops them.
 * Returns RULE_OK; RULE_ERR_INVALID_ARG for a null text or record, a zero length, and a null buffer
 * of a field that is needed; RULE_ERR_BUFFER_SMALL with shortField naming the buffer to enlarge;
 * RULE_ERR_BAD_RULE for a URL that has no such form: no scheme, host and path at all, a colon without
 * a valid port after it, a bad host, a path without host under a scheme other than file. The colon of
 * "user:password@" is such a colon unless a port or an IPv6 literal follows.
 * After any failure buffers, lengths and port may have been written: set the capacities again before
 * the next call.
 * Keeps nothing; may be called from any thread. Cost: linear in the length, no allocation. */
RS_API int32_t rs_normalize_URL(const char* text, uint32_t length, NormalizedUrl* record)
    RS_NOEXCEPT;

#if defined(__cplusplus)
}
#endif

#endif
