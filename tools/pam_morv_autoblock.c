/* PAM module: refuses logins from blocked addresses, and reports those that fail. pam_morv_autoblock(8)
 *
 * It only ever refuses: whatever goes wrong here, it has no say in the login, so that nobody is locked out.
 * It never answers PAM_SUCCESS either, with which a stack of nothing else would let everybody in. */
#include <arpa/inet.h>
#include <morvsdk/autoblock.h>
#include <morvsdk/error.h>
#include <morvsdk/file.h>
#include <netdb.h>
#include <netinet/in.h>
#include <pthread.h>
#include <security/pam_ext.h>
#include <security/pam_modules.h>
#include <stdbool.h>
#include <string.h>
#include <syslog.h>
#include <time.h>

#define EXPORTED __attribute__((visibility("default")))

/* Set in a login that has been refused: it is no failure to be counted, or an address that keeps trying
 * would never be let in again. */
static const char kRefused[] = "pam_morv_autoblock_refused";

static const char kMessage[] = "Too many failed logins from your address. Try again later.";

/* The library has one caller at a time, and a daemon may have threads. Who has waited as long as the
 * library waits for a lock goes on without it. */
enum { kPatience = 65 };
static pthread_mutex_t library = PTHREAD_MUTEX_INITIALIZER;

/* In the child of a fork, the thread that held it does not go on. */
static void release_in_child(void) {
    pthread_mutex_init(&library, NULL);
}

__attribute__((constructor)) static void follow_forks(void) {
    pthread_atfork(NULL, NULL, release_in_child);
}

typedef struct Login {
    pam_handle_t *pamh;
    const char *client; /* as the service has it */
    char address[INET_ADDRSTRLEN];
    const char *root;
    bool is_failure; /* authfail */
    bool debug;
    bool quiet;
    bool silent;
} Login;

static void read_options(Login *login, int argc, const char **argv) {
    for (int i = 0; i < argc; ++i) {
        if (strcmp(argv[i], "authfail") == 0) {
            login->is_failure = true;
        } else if (strcmp(argv[i], "debug") == 0) {
            login->debug = true;
        } else if (strcmp(argv[i], "quiet") == 0) {
            login->quiet = true;
        } else if (strcmp(argv[i], "silent") == 0) {
            login->silent = true;
        } else if (strncmp(argv[i], "root=", 5) == 0) {
            login->root = argv[i] + 5;
        } else if (strcmp(argv[i], "preauth") != 0) {
            pam_syslog(login->pamh, LOG_ERR, "there is no option %s", argv[i]);
        }
    }
}

/* Calls a function of the library, and logs why it failed if it did. */
static int ask(const Login *login, int (*function)(const char *client) MORV_NOEXCEPT, const char *what) {
    struct timespec until;
    clock_gettime(CLOCK_MONOTONIC, &until);
    until.tv_sec += kPatience;
    if (pthread_mutex_clocklock(&library, CLOCK_MONOTONIC, &until) != 0) {
        pam_syslog(login->pamh, LOG_ERR, "cannot %s %s: other logins take too long", what, login->client);
        return -1;
    }
    /* Whose environment it is, is not known: no variable of it says where the settings are. */
    const int answer = MORVSysRootSet(login->root) == 0 ? function(login->address) : -1;
    const int code = answer < 0 ? MLIBErrGet() : ERR_SUCCESS;
    pthread_mutex_unlock(&library);
    if (answer < 0) {
        const int name = code >> 8;
        const bool has_name = name >= 0 && name < errNum && rgszErrMsg[name];
        pam_syslog(login->pamh, LOG_ERR, "cannot %s %s: %s (0x%04X)", what, login->client,
                   has_name ? rgszErrMsg[name] : "error", (unsigned)code);
    }
    if (login->debug) pam_syslog(login->pamh, LOG_DEBUG, "%s %s: %d", what, login->client, answer);
    return answer;
}

static int is_enabled(const char *client) MORV_NOEXCEPT {
    (void)client;
    MLIBErrSet(ERR_SUCCESS);
    return MORVAutoBlockIsEnabled() == 1 ? 1 : MLIBErrGet() == ERR_SUCCESS ? 0 : -1;
}

/* Finds the IPv4 address of the client. Of the library nothing is called: a name may take long, and other
 * logins are not to wait for it. */
static bool look_up(const Login *login, struct in_addr *address) {
    struct in6_addr six;
    if (inet_pton(AF_INET, login->client, address) == 1) return true;
    if (inet_pton(AF_INET6, login->client, &six) == 1) {
        memcpy(address, &six.s6_addr[12], sizeof *address);
        if (IN6_IS_ADDR_V4MAPPED(&six)) return true;
        if (login->debug) pam_syslog(login->pamh, LOG_DEBUG, "%s has no IPv4 address", login->client);
        return false;
    }
    const struct addrinfo hints = {.ai_family = AF_INET, .ai_socktype = SOCK_STREAM};
    struct addrinfo *found = NULL;
    const int result = getaddrinfo(login->client, NULL, &hints, &found);
    if (result != 0) {
        pam_syslog(login->pamh, LOG_NOTICE, "no IPv4 address of %s: %s", login->client, gai_strerror(result));
        return false;
    }
    struct sockaddr_in first;
    memcpy(&first, found->ai_addr, sizeof first);
    *address = first.sin_addr;
    freeaddrinfo(found);
    return true;
}

/* Answers whether there is a client to look after. One on this machine is none: behind the address of a web
 * mailer are all its users. */
static bool begin(Login *login, pam_handle_t *pamh, int flags, int argc, const char **argv) {
    *login = (Login){.pamh = pamh, .root = "", .silent = (flags & PAM_SILENT) != 0};
    read_options(login, argc, argv);
    const void *client = NULL;
    if (pam_get_item(pamh, PAM_RHOST, &client) != PAM_SUCCESS || !client || !*(const char *)client) {
        if (login->debug) pam_syslog(pamh, LOG_DEBUG, "there is no client");
        return false;
    }
    login->client = client;
    if (ask(login, is_enabled, "read the settings for") != 1) return false;
    struct in_addr address;
    if (!look_up(login, &address)) return false;
    if (ntohl(address.s_addr) >> 24 == IN_LOOPBACKNET || address.s_addr == INADDR_ANY) {
        if (login->debug) pam_syslog(pamh, LOG_DEBUG, "%s is this machine", login->client);
        return false;
    }
    return inet_ntop(AF_INET, &address, login->address, sizeof login->address) != NULL;
}

/* Answers whether the client is blocked, and tells both sides. */
static bool is_refused(const Login *login) {
    if (ask(login, MORVAutoBlockIsDeniedIP, "look up") != 1) return false;
    if (!login->quiet) pam_syslog(login->pamh, LOG_NOTICE, "refused: %s is blocked", login->client);
    if (!login->silent) pam_error(login->pamh, "%s", kMessage);
    return true;
}

EXPORTED int pam_sm_authenticate(pam_handle_t *pamh, int flags, int argc, const char **argv) {
    Login login;
    const bool is_remote = begin(&login, pamh, flags, argc, argv);
    if (login.is_failure) {
        const void *refused = NULL;
        if (is_remote && (pam_get_data(pamh, kRefused, &refused) != PAM_SUCCESS || !refused)) {
            ask(&login, MORVAutoBlockFailLoginSet, "count the failure of");
        }
        /* The login has failed; nothing that happens here makes that anything else. */
        return PAM_AUTH_ERR;
    }
    const bool refused = is_remote && is_refused(&login);
    pam_set_data(pamh, kRefused, refused ? (void *)kMessage : NULL, NULL);
    return refused ? PAM_AUTH_ERR : PAM_IGNORE;
}

EXPORTED int pam_sm_setcred(pam_handle_t *pamh, int flags, int argc, const char **argv) {
    (void)pamh, (void)flags, (void)argc, (void)argv;
    return PAM_IGNORE;
}

/* Who has come here has logged in, be it without a password, as by a key. */
EXPORTED int pam_sm_acct_mgmt(pam_handle_t *pamh, int flags, int argc, const char **argv) {
    Login login;
    if (!begin(&login, pamh, flags, argc, argv)) return PAM_IGNORE;
    if (is_refused(&login)) return PAM_PERM_DENIED;
    ask(&login, MORVAutoBlockResetByIP, "forget the failures of");
    return PAM_IGNORE;
}
