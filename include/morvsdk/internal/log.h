/* Internal functions of the log family. Exported, but without a promise of stability.
 *
 * They are the steps of the report of current connections (MORVLogGet). Failures set a code. */
#ifndef MORVSDK_INTERNAL_LOG_H
#define MORVSDK_INTERNAL_LOG_H

#include <morvsdk/list.h>
#include <morvsdk/log.h>

MORV_BEGIN_DECLS

/* Makes the report; arguments and result as MORVLogGet. */
MORV_API int MORVLogICurCon(int mode, void *output) MORV_NOEXCEPT;

/* Turns one line of a source into a line of the report.
 *
 * line:   with its line feed, which MORVLogIProcApp takes for the last character of the service; the others
 *         do without it as well
 * report: gets the line without one, of size bytes
 *
 * Return 1; 0 for a line that is none of the report (a heading, too few fields, no time); or -1 with
 * ERR_BAD_PARAMETERS or ERR_NOT_ENOUGH_MEMORY. */
MORV_API int MORVLogIProcSmb(const char *line, char *report, int size) MORV_NOEXCEPT; /* smbstatus -S */
MORV_API int MORVLogIProcApp(const char *line, char *report, int size) MORV_NOEXCEPT; /* AT_LOG */
MORV_API int MORVLogIProcFTP(const char *line, char *report, int size) MORV_NOEXCEPT; /* ftp_cur_con.log */

/* Pushes the report lines of all lines of a file onto a list, which may move. A missing file has none; a link
 * is not followed.
 * Returns how many, or -1 with ERR_BAD_PARAMETERS, ERR_OPEN_FAILED (also: no regular file), ERR_READ_FAILED
 * (also: more than 16 MiB) or ERR_OUT_OF_MEMORY. */
MORV_API int MORVLogIGetLineByKey(const char *path, int (*process)(const char *line, char *report, int size),
                                  MLIBSZLIST **ppList) MORV_NOEXCEPT;

/* Rewrites a session list so that it only has the lines of processes that run: for each the first line that
 * begins with its number and a tab, by their numbers. A missing list is left
 * missing, one that stays as it is is not written.
 *
 * path:      the list
 * temporary: the file that is renamed over it: path and something behind it
 * program:   the name of the processes
 *
 * Returns 0, or -1 with ERR_BAD_PARAMETERS, ERR_OPEN_FAILED (also: no regular file), ERR_STAT_FAILED,
 * ERR_READ_FAILED, ERR_WRITE_FAILED, ERR_RENAME_FAILED or ERR_OUT_OF_MEMORY; the list is then as it was. */
MORV_API int MORVLogICheckLog(const char *path, const char *temporary, const char *program) MORV_NOEXCEPT;

/* Writes the lines of a list to a file, made anew. Returns how many, or -1 with ERR_BAD_PARAMETERS,
 * ERR_OPEN_FAILED or ERR_WRITE_FAILED. */
MORV_API int MORVLogISave2File(const MLIBSZLIST *list, const char *path) MORV_NOEXCEPT;

/* Joins the lines of a list by tabs.
 *
 * ppText: gets the text, to be freed with free(); null for an empty list
 *
 * Returns the number of lines, or -1 with ERR_BAD_PARAMETERS or ERR_OUT_OF_MEMORY. */
MORV_API int MORVLogIWrite2Mem(const MLIBSZLIST *list, char **ppText) MORV_NOEXCEPT;

MORV_END_DECLS

#endif
