/* Appends a line to a log file, and says by name what went wrong if that fails.
 *
 *     ./example /tmp/example.log "disk 2 replaced"
 */
#include <morvsdk/error.h>
#include <stdio.h>

static const char *code_name(int code) {
    const int index = code >> 8;
    const char *name = index >= 0 && index < errNum ? rgszErrMsg[index] : NULL;
    return name ? name : "an error without a name";
}

int main(int argc, char **argv) {
    if (argc != 3) {
        fprintf(stderr, "usage: %s LOG MESSAGE\n", argv[0]);
        return 2;
    }
    /* The message is a print format by contract, so text from outside must not hold a per cent sign. */
    for (const char *c = argv[2]; *c; ++c) {
        if (*c == '%') {
            fprintf(stderr, "%s: the message must not hold a per cent sign\n", argv[0]);
            return 2;
        }
    }
    if (MLIBErrLogSet(argv[1], argv[2]) < 0) {
        fprintf(stderr, "%s: %s (0x%04X), set in %s line %d\n", argv[1], code_name(MLIBErrGet()),
                (unsigned)MLIBErrGet(), MORVErrorGetFile(), MORVErrorGetLine());
        return 1;
    }
    printf("logged to %s\n", argv[1]);
    return 0;
}
