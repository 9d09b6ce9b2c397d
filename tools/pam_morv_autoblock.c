/* PAM module: refuses logins from blocked addresses, and reports those that fail. pam_morv_autoblock(8)
 *
 * It only ever refuses: whatever goes wrong here, it has no say in the login, so that nobody is locked out.
 * It never answers PAM_SUCCESS either, with which a stack of nothing else would let everybody in. */
#include <morvsdk/autoblock.h>
#include <morvsdk/error.h>
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
enum { kPatience = 35 };
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
    const char *client;
    bool is_failure; /* authfail */
    bool debug;
    bool quiet;
    bool silent;
} Login;

/* A client on this machine has no address of its own: behind that of a web mailer are all its users. */
static bool is_local(const char *client) {
    if (strncasecmp(client, "::ffff:", 7) == 0) client += 7;
    return !*client || strncmp(client, "127.", 4) == 0 || strcmp(client, "::1") == 0 ||
           strcasecmp(client, "localhost") == 0;
}

/* Answers whether there is a client to look after. */
static bool begin(Login *login, pam_handle_t *pamh, int flags, int argc, const char **argv) {
    *login = (Login){.pamh = pamh, .silent = (flags & PAM_SILENT) != 0};
    for (int i = 0; i < argc; ++i) {
        if (strcmp(argv[i], "authfail") == 0) {
            login->is_failure = true;
        } else if (strcmp(argv[i], "debug") == 0) {
            login->debug = true;
        } else if (strcmp(argv[i], "quiet") == 0) {
            login->quiet = true;
        } else if (strcmp(argv[i], "silent") == 0) {
            login->silent = true;
        } else if (strcmp(argv[i], "preauth") != 0) {
            pam_syslog(pamh, LOG_ERR, "there is no option %s", argv[i]);
        }
    }
    const void *client = NULL;
    if (pam_get_item(pamh, PAM_RHOST, &client) != PAM_SUCCESS || !client || is_local(client)) {
        if (login->debug) pam_syslog(pamh, LOG_DEBUG, "the client is local");
        return false;
    }
    login->client = client;
    return true;
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
    const int answer = function(login->client);
    const int code = answer < 0 ? MLIBErrGet() : ERR_SUCCESS;
    pthread_mutex_unlock(&library);
    if (answer < 0 && code == ERR_INVALID_NETNAME) {
        pam_syslog(login->pamh, LOG_NOTICE, "cannot %s %s: it has no IPv4 address", what, login->client);
    } else if (answer < 0) {
        const int name = code >> 8;
        const bool has_name = name >= 0 && name < errNum && rgszErrMsg[name];
        pam_syslog(login->pamh, LOG_ERR, "cannot %s %s: %s (0x%04X)", what, login->client,
                   has_name ? rgszErrMsg[name] : "error", (unsigned)code);
    }
    if (login->debug) pam_syslog(login->pamh, LOG_DEBUG, "%s %s: %d", what, login->client, answer);
    return answer;
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
