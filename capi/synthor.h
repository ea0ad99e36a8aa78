/* synthor.h: the C interface of the Synthor library (libsynthor.so.1, synthor.dll).
 *
 * A session owns one instrument (the simulated one or a USB device through the chosen driver),
 * the library's whole state for it, and a lock. Several sessions may be open at once in one
 * process, each with its own instrument.
 *
 * Threads: every function may be called from any thread. Calls on one session are serialised
 * by that session's lock (a second thread waits until the first call returns); calls on
 * different sessions run in parallel. A callback runs on the thread that made the call; it must
 * not call into the same session (such a call returns SYNTHOR_BAD_ARGUMENT).
 *
 * Errors: no exception or signal leaves the library. Each function returns a status
 * (SYNTHOR_OK or one of the SYNTHOR_ERR_* codes) and, when the caller passes a synthor_error,
 * fills it with a number and a description. A runtime error raised by the library (a text that
 * is not a number: 13, an overflow: 6, an invalid argument: 5, ...) is SYNTHOR_ERR_RAISED with
 * the runtime's number and description, as the command-line tool prints them
 * ("raised 13: Type mismatch").
 *
 * Message boxes and file dialogs: nobody can click them inside a session. A message box is
 * answered Cancel if it is a retry/cancel box and OK otherwise; a file-open dialog is cancelled.
 * Each one (and any problem a result cannot tell, such as why a plan file was refused) becomes
 * one line, as the command-line tool prints it: `msgbox STYLE "TITLE" "TEXT"`, `dialog cancel`.
 * The lines a call produced are in its result (synthor_result.messages) and are also passed to
 * the options' message callback, one callback per line, once the call is over and outside
 * the lock (on the calling thread).
 *
 * Memory: text passed in is read during the call only. Buffers the library returns belong to
 * the caller until freed with the matching function (synthor_result_free,
 * synthor_device_list_free). The text of synthor_version and of a synthor_error lives in
 * static storage and in the caller's struct respectively.
 *
 * Text is UTF-8 and NUL-terminated. Units are those of the automation methods (MHz, dBm,
 * degrees, microseconds), except the typed plan calls, which take hertz.
 */
#ifndef SYNTHOR_H
#define SYNTHOR_H

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32)
#if defined(SYNTHOR_BUILDING_LIBRARY)
#define SYNTHOR_API __declspec(dllexport)
#else
#define SYNTHOR_API __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define SYNTHOR_API __attribute__((visibility("default")))
#else
#define SYNTHOR_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Statuses. SYNTHOR_ERR_RAISED: the call raised a runtime error (error number, description).
 * SYNTHOR_ERR_UNKNOWN_CALL: no call of that name in this build. SYNTHOR_ERR_REFUSED: the call
 * did nothing (a panel control that does not exist, Sim.Output without the simulated
 * instrument). SYNTHOR_ERR_BAD_ARGUMENT: misuse (a null pointer, an unknown driver, a bad
 * simulator setting, a trace file that cannot be written, a plan of fewer than 2 or more than
 * 9001 points, a call from inside one of the session's own callbacks). */
#define SYNTHOR_OK 0
#define SYNTHOR_ERR_RAISED 1
#define SYNTHOR_ERR_UNKNOWN_CALL 2
#define SYNTHOR_ERR_REFUSED 3
#define SYNTHOR_ERR_BAD_ARGUMENT 4

/* What went wrong. `number` is the runtime error's number for SYNTHOR_ERR_RAISED, else 0. */
typedef struct synthor_error {
    int number;
    char description[512]; /* NUL-terminated, cut to fit */
} synthor_error;

/* Types of synthor_value (arguments) and synthor_result. */
#define SYNTHOR_MISSING 0 /* an optional argument left out, as a COM host passes it */
#define SYNTHOR_EMPTY 1   /* Empty: 0 or "" when converted; as a result: the call gives none */
#define SYNTHOR_BOOL 2    /* `integer`: 0 false, anything else true (converts to -1) */
#define SYNTHOR_INT16 3   /* `integer`, -32768..32767 */
#define SYNTHOR_INT32 4   /* `integer` */
#define SYNTHOR_SINGLE 5  /* `number`, rounded to single precision */
#define SYNTHOR_DOUBLE 6  /* `number` */
#define SYNTHOR_TEXT 7    /* `text`; NULL reads as "" */

/* One argument: a variant, converted by the method that reads it exactly as the automation
 * server and the command-line tool convert theirs. A zero-filled value is SYNTHOR_MISSING. */
typedef struct synthor_value {
    int type;
    int32_t integer;
    double number;
    const char* text;
} synthor_value;

/* A call's result. Free it with synthor_result_free (also after a failed call: it is then
 * empty, and freeing it is harmless). */
typedef struct synthor_result {
    int type;        /* SYNTHOR_TEXT, SYNTHOR_INT16 (FND, FNDSN, panel flags) or SYNTHOR_EMPTY */
    int32_t integer; /* the value for SYNTHOR_INT16 */
    char* text;      /* the result as the command-line tool prints it ("OK", "1234"); "" when
                        empty; never NULL after a call that returned SYNTHOR_OK */
    char* messages;  /* the message-box and dialog lines of the call, each ending in "\n"; NULL
                        when there were none */
} synthor_result;

/* Progress of the calibration load inside FND/FNDSN (and the panel's start-up), 0 to 100. */
typedef void (*synthor_progress_fn)(void* user, double percent);
/* One line per message box, dialog or reported problem (see above), without a line end. */
typedef void (*synthor_message_fn)(void* user, const char* line);

/* The simulated instrument's settings; a zero-filled struct gives the defaults. */
typedef struct synthor_sim_settings {
    const char* usb_serial;  /* what FNDSN opens by; NULL: "VX000001" */
    const char* eeprom_path; /* read-only memory image, a regular file of 65536 bytes; NULL: the
                                built-in image (serial number 1234, calibration tables) */
    char status;             /* reply to "Q"; 0: 'R' */
    const char* version;     /* 3-byte reply to "V"; NULL: "1.0" */
    int lock;                /* reply byte to "Y9", 0..255 */
    const char* faults;      /* driver failures, comma-separated as the tool's --sim-fault
                                ("open=2,silent", "chunk=5"); NULL: none */
    const char* usb;         /* the modelled bus of the wire-time count, "full" or "high";
                                NULL: "full" */
} synthor_sim_settings;

#define SYNTHOR_COALESCE 1u /* flags: join the frames of one plan upload into few driver writes */

/* How to open a session; a zero-filled struct opens on the "auto" driver with no trace. */
typedef struct synthor_options {
    const char* driver;              /* "auto" (NULL), "sim", "d2xx" or "libftdi" */
    const synthor_sim_settings* sim; /* the simulator's settings; with driver NULL or "auto" a
                                        non-NULL `sim` chooses the simulator */
    const char* trace_path;          /* wire trace file (one line per driver call); NULL: none */
    unsigned flags;                  /* SYNTHOR_COALESCE */
    synthor_progress_fn progress;
    void* progress_user;
    synthor_message_fn message;
    void* message_user;
} synthor_options;

/* An open session. */
typedef struct synthor_session synthor_session;

/* The library's version, "MAJOR.MINOR.PATCH"; static text. */
SYNTHOR_API const char* synthor_version(void);

/* Opens a session on the instrument the options name. The instrument is not looked for yet:
 * call "FND" or "FNDSN" as a host program does. `options` may be NULL (all defaults). On
 * success *session is the new session; on failure it is NULL. */
SYNTHOR_API int synthor_open(const synthor_options* options, synthor_session** session,
                             synthor_error* error);

/* Closes the session: the instrument's driver handle is closed if it is still open, the trace
 * file is flushed and closed, and everything the session holds is freed. NULL is ignored. No
 * call on the session may be running or made afterwards. */
SYNTHOR_API void synthor_close(synthor_session* session);

/* Runs one call by name (case-insensitive): an automation method (FND, FNDSN, CloseSigGen,
 * GenOff, ShowUI, SetFrequency, SetPhase, ReadFplan, SetFreqPlan, GoFreqSweep, ClearFPlan,
 * DLLVer, LockStatus, SetSigGen), a headless panel call (Panel.Set, Panel.Click, Panel.Select,
 * Panel.Get, Panel.Value, Panel.Bold, Panel.Enabled, Panel.Status, Panel.Load, Panel.Close) or
 * Sim.Output. `args` holds `count` arguments (NULL when 0); a method given fewer than it takes
 * gets the rest as missing, more than it takes raises 450. `result` may be NULL. */
SYNTHOR_API int synthor_call(synthor_session* session, const char* name, const synthor_value* args,
                             size_t count, synthor_result* result, synthor_error* error);

/* Frees what a result holds and empties it. NULL is ignored. */
SYNTHOR_API void synthor_result_free(synthor_result* result);

/* Typed plans. Each stores the plan as reading a plan file would (levels and dwells clamped as
 * the file readers clamp them: frequency and complex plan levels to -25..15 dBm, level plan
 * levels to -25..17, dwells to 26..65500 us, complex dwells to 20..65500) and then uploads and
 * starts it with the command-string routine (SetSigGen FREQSWEEP/LEVSWEEP/COMPLEXSWEEP "ON").
 * The result text is that routine's ("OK" or its refusal, e.g. "Error. Incorrect Start/Stop
 * freq values." for a frequency plan that does not end above its start); without an instrument
 * "Error. No instrument found." and nothing is stored. `count` is 2..9001. */
SYNTHOR_API int synthor_frequency_plan(synthor_session* session, const double* frequencies_hz,
                                       size_t count, double level_dbm, int32_t dwell_us,
                                       synthor_result* result, synthor_error* error);
SYNTHOR_API int synthor_level_plan(synthor_session* session, double frequency_hz,
                                   const double* levels_dbm, size_t count, int32_t dwell_us,
                                   synthor_result* result, synthor_error* error);
/* Phases in degrees, 0..360, with one level per phase. */
SYNTHOR_API int synthor_complex_plan(synthor_session* session, double frequency_hz,
                                     const double* phases_deg, const double* levels_dbm,
                                     size_t count, int32_t dwell_us, synthor_result* result,
                                     synthor_error* error);

/* The connection as the library keeps it. */
typedef struct synthor_state {
    int instrument_found; /* 1 after FND/FNDSN found the instrument, 0 after CloseSigGen */
    int no_response;      /* 1 once a reply did not arrive in time (it stays set) */
    int serial_number;    /* last result of FND/FNDSN */
    int simulated;        /* 1 when the session drives the simulated instrument */
} synthor_state;

SYNTHOR_API int synthor_get_state(synthor_session* session, synthor_state* state,
                                  synthor_error* error);

/* One device a driver sees. */
typedef struct synthor_device {
    char* description;
    char* serial;
    char* driver; /* "sim", "d2xx", "libftdi" */
} synthor_device;

typedef struct synthor_device_list {
    size_t count;
    synthor_device* devices;
} synthor_device_list;

/* The devices the driver the options name can see, open or not (the simulator lists itself).
 * Free the list with synthor_device_list_free. */
SYNTHOR_API int synthor_list_devices(const synthor_options* options, synthor_device_list* list,
                                     synthor_error* error);
SYNTHOR_API void synthor_device_list_free(synthor_device_list* list);

#ifdef __cplusplus
}
#endif

#endif /* SYNTHOR_H */
