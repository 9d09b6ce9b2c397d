/* The network: what addresses and names are good for, the addresses of the wired interfaces, the name
 * server, the default gateway, the MTU and the host name.
 *
 *   #include <morvsdk/net.h>
 *
 *   NET_CARD old, card;
 *   if (MORVNetGetCard1(0, NULL, &old) == 1) {     ...the first interface that is up
 *       card = old;
 *       card.isStatic = 1;
 *       strcpy(card.address, "192.168.1.10");
 *       strcpy(card.netmask, "255.255.255.0");
 *       if (MORVNetSetCard1(&card, &old) != 0)     ...MLIBErrGet() says why
 *   }
 *
 * What holds for all of them
 *
 *   Failure     The error state (error.h) holds the code. Output arguments are written on success only,
 *               unless a function says otherwise. Commands log what failed (syslog, priority error).
 *   Locks       Interface addresses and the host name lie under MORV_LOCK_HOST, the name server and the
 *               gateway under MORV_LOCK_NW, the MTU under MORV_LOCK_MORVINFO. The functions take them (but
 *               for MORVNetDefaultGatewayGetConf and MORVConfGetMTUValue, which read one file once), and
 *               wait five seconds for each. Who needs two takes MORV_LOCK_HOST first.
 *   Interfaces  The name of an interface has 1 to 15 letters, digits, "_", "-", "." and ":", begins with
 *               a letter, a digit or "_" and holds no "..": it becomes a part of paths and commands.
 *               Another is refused with ERR_BAD_PARAMETERS.
 *   Root        With a system root (MORVSysRootSet) files and tools are those below it, no process is
 *               signalled, and the kernel's host name stays. Which interfaces there are says
 *               "/proc/net/dev" below the root; their flags and addresses are the kernel's. The host
 *               name's line gets an address of the configuration files. */
#ifndef MORVSDK_NET_H
#define MORVSDK_NET_H

#include <morvsdk/errcodes.h>
#include <morvsdk/export.h>
#include <stdint.h>

MORV_BEGIN_DECLS

/* ---- What texts are good for ----------------------------------------------------------------------------
 *
 * They answer 1 (valid) or 0, look at nothing but their arguments, and may be called in any thread, also in
 * several at once; of the codes that those who set one have set then, the last one is left. A null argument
 * is ERR_BAD_PARAMETERS.
 *
 * A dotted text is four numbers with a "." between them; each is written decimal, octal ("012") or
 * hexadecimal ("0x0A"), may have white space and a sign in front, and must fit an int32_t. It has at most
 * 31 characters. Those who write such texts into files take the normal form "192.168.1.10". */

/* Whether a text is an IPv4 address that an interface can have: the first number is 1 to 223 and not 127,
 * the second and third are 0 to 255, the fourth is 0 to 254. Another sets ERR_INVALID_NETNAME. */
MORV_API int BlMLIBIsIpAddr(const char *text) MORV_NOEXCEPT;

/* Whether a text is a netmask: 1 to 32 one bits, then zero bits. Another sets ERR_INVALID_NETNAME and
 * stays as it was.
 * text: rewritten in normal form, which is never longer */
MORV_API int BlMLIBIsIpMask(char *text) MORV_NOEXCEPT;

/* Whether a text is the address of a network: numbers of 0 to 255 with no bit set beyond the netmask.
 * Another, or a netmask that is none, sets ERR_INVALID_NETNAME and stays as it was.
 * text: rewritten in normal form, which is never longer */
MORV_API int BlMLIBIsSubNet(char *text, const char *netmask) MORV_NOEXCEPT;

/* Whether a text can be one label of a domain name: not empty, without blanks and characters below them,
 * and without parentheses, brackets of all kinds, comma, full stop, colons, backslash, double quote and
 * "@". Codes above 126 pass, and so do names in UTF-8. Sets no code. */
MORV_API int BlMLIBIsAtom(const char *text) MORV_NOEXCEPT;

/* Whether a text of at most 512 bytes is a domain name: labels with one "." between each two. Sets no
 * code. */
MORV_API int BlMLIBIsDomain(const char *text) MORV_NOEXCEPT;

/* Whether a text of at most 512 bytes is a mail address: what passes for a domain name on each side of one
 * "@". Sets no code. */
MORV_API int BlMLIBIsMailbox(const char *text) MORV_NOEXCEPT;

/* Whether a text can be the appliance's host name: 1 to 15 letters, digits, "-" and "_", beginning with a
 * letter or "_". Sets no code, also for null. */
MORV_API int BlMLIBIsHostname(const char *text) MORV_NOEXCEPT;

/* The size in bytes that always is enough for "ADDRESS/NETMASK" in normal form. */
enum { MORV_SUBNET_TEXT_SIZE = 32 };

/* Makes "10.0.0.0/8" of an address and a netmask, "10.1.2.3/255.0.0.0". The numbers of the address are 0
 * to 254.
 *
 * text:   at most 64 characters with one "/"; gets the result when buffer is null, which is never longer
 * buffer: of MORV_SUBNET_TEXT_SIZE bytes, or null
 * Returns 0, or -1 with ERR_BAD_PARAMETERS (null) or ERR_INVALID_NETNAME; nothing is written then. */
MORV_API int ErrMLIBIpMaskToSubnet(char *text, char *buffer) MORV_NOEXCEPT;

/* Makes "10.0.0.0/255.0.0.0" of an address and a prefix length, "10.1.2.3/8". The numbers of the address
 * are 0 to 254, the prefix length, decimal, octal or hexadecimal, is 1 to 32.
 *
 * text:   at most 64 characters with one "/"; gets the result when buffer is null: it then has room for
 *         MORV_SUBNET_TEXT_SIZE bytes
 * buffer: of MORV_SUBNET_TEXT_SIZE bytes, or null
 * Returns 0, or -1 with ERR_BAD_PARAMETERS (null) or ERR_INVALID_NETNAME; nothing is written then. */
MORV_API int ErrMLIBSubnetToIpMask(char *text, char *buffer) MORV_NOEXCEPT;

/* ---- Interfaces -------------------------------------------------------------------------------------- */

enum {
    MORV_NET_NAME_SIZE = 16, /* bytes for the name of an interface and its zero */
    MORV_NET_MAX_CARDS = 8,  /* interfaces that have an index */
    MORV_IP_TEXT_SIZE = 16   /* bytes for a dotted IPv4 address and its zero */
};

/* An interface as the kernel has it. */
typedef struct NET_INTERFACE {
    char name[MORV_NET_NAME_SIZE];
    uint8_t hardware[6]; /* its hardware address; zeros when it has none */
    char address[70];    /* dotted IPv4 address; "" when it has none */
    int32_t link;        /* 2: it is running (there is a link), else 0 */
    int32_t flags;       /* the kernel's 16 bits IFF_... with the sign of the highest */
} NET_INTERFACE;

/* Which interfaces are listed; never those that are down, loopback or point-to-point. */
enum {
    MORV_NET_BUT_MASTERS = 1, /* not those that others are bonded into */
    MORV_NET_BUT_SLAVES = 2,  /* not those that are bonded into others */
    MORV_NET_ALL = 3
};

/* Lists the interfaces that are up, sorted by name.
 *
 * entries:   gets them, room for maximum; or null, then they are only counted
 * maximum:   that many are listed or counted at most, in the kernel's order
 * selection: MORV_NET_...
 *
 * Returns their number, or -1 with ERR_BAD_PARAMETERS, ERR_OPEN_FAILED ("/proc/net/dev", or no socket),
 * ERR_READ_FAILED or ERR_OUT_OF_MEMORY. */
MORV_API int MLIBNetGetInterfaceInfo(NET_INTERFACE *entries, int maximum, int selection) MORV_NOEXCEPT;

/* An interface as it is configured, in "/etc/sysconfig/network-scripts/ifcfg-NAME". */
typedef struct NET_CARD {
    int32_t isStatic; /* 1: the address is a static one, 0: it is got by DHCP */
    int32_t hasLink;  /* 1: there is a link, else 0 */
    char name[MORV_NET_NAME_SIZE];
    uint8_t hardware[6];
    char address[20]; /* dotted; with DHCP that of the lease */
    char netmask[20]; /* likewise */
} NET_CARD;

/* Reads how an interface is configured. By DHCP, address and netmask are those of the client's lease,
 * which is waited for up to three seconds.
 *
 * index:   0 to 7: of the interfaces that are up and no slaves, by name
 * address: or null; else the one that has this address now, and index does not matter
 *
 * Returns 1; 0 when there is no such interface, or it cannot be read: no file has its address or netmask
 * (logged), or its name cannot be part of a path; -1 with ERR_BAD_PARAMETERS, ERR_LOCK_FAILED or a code of
 * MLIBNetGetInterfaceInfo. card is written with 1 only. */
MORV_API int MORVNetGetCard1(int index, const char *address, NET_CARD *card) MORV_NOEXCEPT;

/* Whether the interface gets its address by DHCP. A configuration file without "BOOTPROTO", or with a
 * value of 16 or more characters, or none at all, is given "BOOTPROTO=static", and counts so; one that is
 * there but cannot be read is left alone.
 * Answers 1 or 0; 0 also on a failure, which is logged, with ERR_BAD_PARAMETERS, ERR_LOCK_FAILED,
 * ERR_OPEN_FAILED, ERR_READ_FAILED or a code of MLIBFileSetKeyValue. */
MORV_API int BlMORVLnxIsDHCP(const char *name) MORV_NOEXCEPT;

/* Gives an interface a static address, or has it get one by DHCP; in the kernel, and in its configuration
 * file.
 *
 * card:     isStatic, name, and for a static address address and netmask; the rest does not matter
 * previous: or null; when its address and netmask are the new ones, the dynamic-DNS daemon is not told
 *
 * A static one: the file is written, a DHCP client ended, the kernel given the address ("/sbin/ifconfig"),
 * the host name's line in "/etc/hosts" brought to it; when one of these fails, the file becomes again what
 * it was.
 * DHCP: a client is ended, another one started ("/sbin/dhcpcd"), which may take 30 seconds, and only when
 * it has an address is the file written. Either way the default route then is mended if need be; that does
 * not fail the call.
 *
 * Returns 0; -1 with ERR_BAD_PARAMETERS, ERR_LOCK_FAILED, ERR_INVALID_NETNAME (address, netmask or the host
 * name), ERR_OP_FAILURE (a tool failed, or a DHCP client does not end), ERR_OUT_OF_MEMORY or, for the
 * files, a code of MLIBFileSetKeys or MORVLnxSetHostname; -2 when the address has come by DHCP but the
 * file cannot be written. */
MORV_API int MORVNetSetCard1(const NET_CARD *card, const NET_CARD *previous) MORV_NOEXCEPT;

/* Called when a change to DHCP has failed. The configuration file is as it was then, and nothing is to be
 * done: it returns 0. */
MORV_API int MORVRecoverIPSetting(const char *name, const NET_CARD *previous) MORV_NOEXCEPT;

/* ---- Name server, gateway, MTU, host name ------------------------------------------------------------ */

/* Reads the first name server of "/etc/resolv.conf"; "" when there is none.
 *
 * buffer, size: the word as it stands there, and the size in bytes. The buffer is made empty first.
 * Returns 0, or -1 with ERR_BAD_PARAMETERS, ERR_LOCK_FAILED, ERR_OPEN_FAILED, ERR_READ_FAILED (also for
 * more than a MiB), ERR_NOT_ENOUGH_MEMORY (it does not fit) or ERR_OUT_OF_MEMORY. */
MORV_API int MORVNetDNSGet(char *buffer, int size) MORV_NOEXCEPT;

/* Makes an address the only name server, and tells the dynamic-DNS daemon. "/etc/resolv.conf" is replaced
 * as
 * a whole: what else it held is gone. The address is written in normal form.
 *
 * address: what BlMLIBIsIpAddr takes, or "" for none
 * Returns 0, or -1 with ERR_BAD_PARAMETERS, ERR_INVALID_NETNAME, ERR_LOCK_FAILED, ERR_OPEN_FAILED,
 * ERR_STAT_FAILED, ERR_WRITE_FAILED or ERR_RENAME_FAILED; the file is then as it was, but for a folder that
 * MORV_DURABLE could not sync (file.h). */
MORV_API int MORVNetDNSSet(const char *address) MORV_NOEXCEPT;

/* Reads the stored default gateway, key "GATEWAY" of "/etc/sysconfig/network".
 * Returns 0, or -1 with ERR_BAD_PARAMETERS, ERR_KEY_NOT_FOUND (none is stored) or a code of
 * MLIBFileGetKeyValue. */
MORV_API int MORVNetDefaultGatewayGetConf(char *buffer, int size) MORV_NOEXCEPT;

/* Stores a default gateway, and makes it the default route ("/sbin/route").
 *
 * address: null or "" removes both. It is not checked: BlMLIBIsIpAddr does that. One that begins with "-",
 *          holds a line feed or nothing but blanks is refused.
 * Returns 0, or -1 with ERR_BAD_PARAMETERS, ERR_LOCK_FAILED, a code of MLIBFileSetKeyValue, or
 * ERR_OP_FAILURE: it is stored, but the kernel has not taken it; a former default gateway has been put
 * back. */
MORV_API int MORVNetDefaultGatewaySet(const char *address) MORV_NOEXCEPT;

/* Reads the gateway of the kernel's default route ("/proc/net/route"): that with the smallest metric.
 * Returns 0, or -1 with ERR_BAD_PARAMETERS, ERR_KEY_NOT_FOUND (there is none), ERR_OPEN_FAILED,
 * ERR_READ_FAILED, ERR_NOT_ENOUGH_MEMORY (it does not fit) or ERR_OUT_OF_MEMORY. */
MORV_API int MORVNetDefaultRouteGet(char *buffer, int size) MORV_NOEXCEPT;

/* Reads the stored MTU of an interface in bytes, as a text; "1500" when none is stored. The key in
 * "/etc/morvinfo.conf" is the first 7 characters of the name and "_mtu".
 * Returns 0, or -1 with ERR_BAD_PARAMETERS or a code of MLIBFileGetKeyValue. */
MORV_API int MORVConfGetMTUValue(const char *name, char *buffer, int size) MORV_NOEXCEPT;

/* Stores the MTU of an interface, for whoever brings the interface up.
 *
 * mtu: in bytes, one to five decimal digits
 * Returns 0, or -1 with ERR_BAD_PARAMETERS, ERR_LOCK_FAILED, ERR_UNLOCK_FAILED or a code of
 * MLIBFileSetKeyValue. */
MORV_API int MORVConfSetMTUValue(const char *mtu, const char *name) MORV_NOEXCEPT;

/* Sets the host name: the kernel's, key "HOSTNAME" of "/etc/sysconfig/network", and the name's line in
 * "/etc/hosts", which gets an address of the appliance. All of them, or none; all also when only a folder
 * could not be synced (MORV_DURABLE, file.h).
 * Returns 0, or -1 with ERR_INVALID_NETNAME (BlMLIBIsHostname refuses it), ERR_BAD_PARAMETERS (null),
 * ERR_LOCK_FAILED, ERR_ACCESS_DENIED or ERR_OP_FAILURE (the kernel refuses it), ERR_OUT_OF_MEMORY or, for
 * the files, ERR_OPEN_FAILED, ERR_STAT_FAILED, ERR_READ_FAILED, ERR_WRITE_FAILED or ERR_RENAME_FAILED. */
MORV_API int MORVLnxSetHostname(const char *name) MORV_NOEXCEPT;

/* Reads the host name: the kernel's, with a system root the one stored in "/etc/sysconfig/network".
 * Returns 0, or -1 with ERR_BAD_PARAMETERS, ERR_KEY_NOT_FOUND (none is stored), ERR_NOT_ENOUGH_MEMORY (it
 * does not fit) or a code of MLIBFileGetKeyValue. */
MORV_API int MORVLnxGetHostname(char *buffer, int size) MORV_NOEXCEPT;

enum { MORV_DDNS_RELOAD = 4 }; /* read the settings again */

/* Tells the dynamic-DNS daemon, the process of "/var/run/ddnsd.pid", what to do.
 * action: MORV_DDNS_RELOAD
 * Returns 1 when it was told; 0 when it does not run; -1 with ERR_BAD_PARAMETERS or ERR_OP_FAILURE. */
MORV_API int MORVDDNSDaemonAction(int action) MORV_NOEXCEPT;

/* Finds the IPv4 address of a host.
 *
 * host:   a name; a dotted address and its IPv6 form "::ffff:192.0.2.1" count as themselves and ask nobody
 * buffer: gets the dotted address, of size bytes (MORV_IP_TEXT_SIZE always is enough)
 *
 * A name is asked for as the system is set up, which may take many seconds: no lock is to be held.
 * Returns 0, or -1 with ERR_BAD_PARAMETERS, ERR_NOT_ENOUGH_MEMORY (buffer too small), ERR_INVALID_NETNAME
 * (no such name, or one without an IPv4 address), ERR_SERVER_UNREACHABLE (no name server answers) or
 * ERR_OUT_OF_MEMORY. */
MORV_API int MORVNetBkpLookupIP(const char *host, char *buffer, int size) MORV_NOEXCEPT;

MORV_END_DECLS

#endif
