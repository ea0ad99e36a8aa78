// The automation server from JScript (integers arrive as 32-bit, errors as exceptions), run
// Ends with "N passed, M failed".
var passed = 0, failed = 0;
function check(what, actual, expected) {
    if (actual === expected) {
        passed++;
    } else {
        failed++;
        WScript.Echo("FAIL " + what + ": got [" + actual + "], want [" + expected + "]");
    }
}
// The low word of the error a call raises (0 if none): a runtime error's own number, or the
// dispatch error JScript reports as it stands (14: wrong argument count).
function raised(call) {
    try {
        call();
        return 0;
    } catch (e) {
        return e.number & 0xFFFF;
    }
}

var o = new ActiveXObject("Synthor01.Synthor_01_vexa");
check("DLLVer", o.DLLVer(), "V1.0 Jan 2019");
check("FND", o.FND(), 1234);
check("SetFrequency", o.SETFREQUENCY(100, 3), "OK");
check("SetSigGen CW", o.SetSigGen("CW", 8192, 17), "OK");
check("SetSigGen LEVELHOP", o.SetSigGen("LEVELHOP", 1000, 0, -10, 100, "ON"), "OK");
check("text for a number", raised(function () { o.SetPhase("ninety"); }), 13);
check("too many arguments", raised(function () { o.LockStatus(1); }), 14);
check("omitted argument read", raised(function () { o.SetSigGen("PHASE", 1000); }), 13);
var b = new ActiveXObject("Synthor01.Synthor_01_vexa");
check("shared session", b.CloseSigGen(), "OK");
check("CloseSigGen twice", o.CloseSigGen(), "Error. No instrument found.");
WScript.Echo(passed + " passed, " + failed + " failed");
