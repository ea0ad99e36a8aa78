/* A C99 program that sees only synthor.h: a whole session on the simulated instrument, each
 * kind of failure status, a typed plan, the message lines and device listing. */
#include <stdio.h>
#include <string.h>

#include "synthor.h"

static int failures = 0;
static int messageLines = 0;

static void onMessage(void* user, const char* line) {
    (void)user;
    if (strncmp(line, "msgbox ", 7) == 0) ++messageLines;
}

#define CHECK(cond)                                                            \
    do {                                                                       \
        if (!(cond)) {                                                         \
            fprintf(stderr, "%s:%d: failed: %s\n", __FILE__, __LINE__, #cond); \
            ++failures;                                                        \
        }                                                                      \
    } while (0)

static synthor_value number(double v) {
    synthor_value a;
    memset(&a, 0, sizeof a);
    a.type = SYNTHOR_DOUBLE;
    a.number = v;
    return a;
}

static synthor_value text(const char* t) {
    synthor_value a;
    memset(&a, 0, sizeof a);
    a.type = SYNTHOR_TEXT;
    a.text = t;
    return a;
}

/* Runs one call; returns its status and leaves its result text in `out`. */
static int call(synthor_session* s, const char* name, const synthor_value* args, size_t n,
                char* out, size_t size, synthor_error* error) {
    synthor_result r;
    int status = synthor_call(s, name, args, n, &r, error);
    out[0] = '\0';
    if (r.text) {
        strncpy(out, r.text, size - 1);
        out[size - 1] = '\0';
    }
    synthor_result_free(&r);
    return status;
}

int main(void) {
    synthor_sim_settings sim;
    synthor_options options;
    synthor_session* s = NULL;
    synthor_error error;
    synthor_result r;
    synthor_device_list list;
    synthor_state state;
    synthor_value args[6];
    char out[4096];
    const double plan[3] = {1.0e9, 1.5e9, 2.0e9};

    memset(&sim, 0, sizeof sim);
    memset(&options, 0, sizeof options);
    sim.usb_serial = "CPROG01";
    options.sim = &sim;
    options.message = onMessage;

    CHECK(strcmp(synthor_version(), "1.0.0") == 0);
    CHECK(synthor_open(&options, &s, &error) == SYNTHOR_OK && s != NULL);

    CHECK(call(s, "FND", NULL, 0, out, sizeof out, &error) == SYNTHOR_OK);
    CHECK(strcmp(out, "1234") == 0);
    args[0] = number(2400);
    args[1] = number(-10);
    CHECK(call(s, "SetFrequency", args, 2, out, sizeof out, &error) == SYNTHOR_OK);
    CHECK(strcmp(out, "OK") == 0);
    CHECK(call(s, "Sim.Output", NULL, 0, out, sizeof out, &error) == SYNTHOR_OK);
    CHECK(strstr(out, "2400") != NULL);

    /* A runtime error: its number and description, as the tool prints them. */
    args[0] = text("abc");
    CHECK(call(s, "SetFrequency", args, 2, out, sizeof out, &error) == SYNTHOR_ERR_RAISED);
    CHECK(error.number == 13 && strcmp(error.description, "Type mismatch") == 0);
    CHECK(call(s, "DLLVer", args, 1, out, sizeof out, &error) == SYNTHOR_ERR_RAISED);
    CHECK(error.number == 450);
    CHECK(call(s, "NoSuchCall", NULL, 0, out, sizeof out, &error) == SYNTHOR_ERR_UNKNOWN_CALL);
    args[0] = text("NoSuchControl");
    CHECK(call(s, "Panel.Get", args, 1, out, sizeof out, &error) == SYNTHOR_ERR_REFUSED);
    CHECK(call(NULL, "DLLVer", NULL, 0, out, sizeof out, &error) == SYNTHOR_ERR_BAD_ARGUMENT);

    /* A refusal shown in a message box comes back as a message line. */
    args[0] = text("LEVELHOP");
    args[1] = number(9000);
    args[2] = number(0);
    args[3] = number(-5);
    args[4] = number(100);
    args[5] = text("ON");
    CHECK(synthor_call(s, "SetSigGen", args, 6, &r, &error) == SYNTHOR_OK);
    CHECK(r.text && strcmp(r.text, "Error. Invalid frequency value.") == 0);
    CHECK(r.messages && strncmp(r.messages, "msgbox ", 7) == 0);
    CHECK(messageLines == 1);
    synthor_result_free(&r);
    synthor_result_free(&r); /* harmless twice */

    CHECK(synthor_frequency_plan(s, plan, 3, -5.0, 100, &r, &error) == SYNTHOR_OK);
    CHECK(r.text && strcmp(r.text, "OK") == 0);
    synthor_result_free(&r);
    CHECK(synthor_frequency_plan(s, plan, 1, -5.0, 100, &r, &error) == SYNTHOR_ERR_BAD_ARGUMENT);

    CHECK(synthor_get_state(s, &state, &error) == SYNTHOR_OK);
    CHECK(state.instrument_found == 1 && state.serial_number == 1234 && state.simulated == 1);

    CHECK(synthor_list_devices(&options, &list, &error) == SYNTHOR_OK);
    CHECK(list.count == 1 && strcmp(list.devices[0].serial, "CPROG01") == 0);
    synthor_device_list_free(&list);

    synthor_close(s);
    options.driver = "usb";
    CHECK(synthor_open(&options, &s, &error) == SYNTHOR_ERR_BAD_ARGUMENT && s == NULL);

    if (failures == 0) printf("c_program: all checks passed\n");
    return failures == 0 ? 0 : 1;
}
