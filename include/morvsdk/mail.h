/* Notification mails.
 *
 * The template of an event is a section of "/usr/morv/morvsdk/texts/LANGUAGE/mail_templates":
 *
 *     [AutoBlockAdd]
 *     subject=%CLIENT_IP% has been blocked
 *     body=%CLIENT_IP% was blocked at %AUTOBLOCK_TIME%.\nTo let it in again, ...
 *
 * Settings are keys of "/etc/morvinfo.conf": mail_to1 and mail_to2, the receivers; mail_from, the sender
 * (none: that of the mail program); mail_language (none: "enu"). Addresses are plain ones, as
 * "admin@example.com"; others are passed over. */
#ifndef MORVSDK_MAIL_H
#define MORVSDK_MAIL_H

#include <morvsdk/errcodes.h>
#include <morvsdk/export.h>
#include <morvsdk/hash.h>

MORV_BEGIN_DECLS

/* Sends the mail of an event through "/usr/sbin/sendmail -t".
 *
 * event: names the template
 * hash:  what stands for the words of the template, by the word with its per cent signs ("%CLIENT_IP%"); null
 *        for none. A value is only ever text: line breaks in it end in the subject as blanks, and words in
 *        a value are not replaced again.
 *
 * The mail is UTF-8. The call waits for sendmail to take it.
 * Returns 0, or -1 with ERR_BAD_PARAMETERS (null, an event or language that cannot be a name),
 * ERR_KEY_NOT_FOUND (nobody to send to), ERR_SECTION_NOT_FOUND (no template in that language nor in "enu"),
 * ERR_SYS_UNKNOWN (sendmail failed or is missing), ERR_TIMER_EXPIRED (it was ended after 30 seconds), or
 * ERR_OUT_OF_MEMORY. */
MORV_API int MORVMailSendEvent(const char *event, const MLIBSZHASH *hash) MORV_NOEXCEPT;

MORV_END_DECLS

#endif
