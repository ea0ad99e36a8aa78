' The automation server from VBScript against the drop-in simulated driver: every method by name,
' results with and without an instrument, error numbers, omitted arguments, variables passed by
' reference, two objects sharing one session, the unattended prompts. Argument: the examples
' folder. Ends with "N passed, M failed".
Option Explicit
Dim passed, failed, o, b, f, lvl, examples
passed = 0 : failed = 0
examples = WScript.Arguments(0)

Sub Check(what, actual, expected)
    If TypeName(actual) = TypeName(expected) And actual = expected Then
        passed = passed + 1
    Else
        failed = failed + 1
        WScript.Echo "FAIL " & what & ": got " & TypeName(actual) & " [" & actual & "], want " & _
            TypeName(expected) & " [" & expected & "]"
    End If
End Sub

' Checks the error the previous statement raised (run under On Error Resume Next): "NUMBER|
' DESCRIPTION|SOURCE", or "ok:RESULT" when it raised none.
Sub Raised(what, result, expected)
    Dim got
    If Err.Number <> 0 Then got = Err.Number & "|" & Err.Description & "|" & Err.Source _
        Else got = "ok:" & result
    Err.Clear
    If Right(expected, 1) = "|" Then got = Left(got, Len(expected))
    Check what, got, expected
End Sub

Set o = CreateObject("Synthor01.Synthor_01_vexa")
Check "DLLVer", o.DLLVer(), "V1.0 Jan 2019"
Check "names in any case", o.dllver, "V1.0 Jan 2019"
Check "LockStatus, no instrument", o.LockStatus(), "Error. No instrument connected."
Check "CloseSigGen, no instrument", o.CloseSigGen(), "Error. No instrument found."
Check "GenOff, no instrument", o.GenOff(), "Error. No instrument found."
Check "ShowUI, no instrument", o.ShowUI(), "Error. No instrument connected."
Check "SetSigGen, no instrument", o.SetSigGen("CW", 1000, 0), "Error. No instrument found."
Check "FNDSN, unknown serial", o.FNDSN("VX999999"), 0
Check "FNDSN", o.FNDSN("VX000001"), 1234
Check "CloseSigGen", o.CloseSigGen(), "OK"
Check "FND", o.FND(), 1234

f = 1000.5 : lvl = -10
Check "SetFrequency, variables by reference", o.SetFrequency(f, lvl), "OK"
Check "SetPhase", o.SetPhase(90), "OK"
Check "SetSigGen CW", o.SetSigGen("cw", 2400, -5), "OK"
Check "SetSigGen FM", o.SetSigGen("FM", 1000, 100, 0, "1 kHz", "ON"), "OK"
Check "SetSigGen READFREQPLAN", o.SetSigGen("READFREQPLAN", examples & "\freq_sweep.dat"), "OK"
Check "SetSigGen FREQSWEEP", o.SetSigGen("FREQSWEEP", "on"), "OK"
Check "SetSigGen FREQHOP", o.SetSigGen("FREQHOP", 1000, 1010, 0, 100, "ON"), "OK"
Check "SetFreqPlan", o.SetFreqPlan(1000, 1, 10, 100, 0), "OK"
Check "GoFreqSweep", o.GoFreqSweep(), "OK"
Check "ClearFPlan", o.ClearFPlan(), ""
Check "LockStatus", o.LockStatus(), "Locked"

Dim source, r : source = "|Synthor01.Synthor_01_vexa"
On Error Resume Next
r = "" : r = o.SetFrequency("abc", 0) : Raised "text for a number", r, "13|Type mismatch" & source
r = "" : r = o.SetSigGen("SETTRIGGER", 40000) : Raised "overflow", r, "6|Overflow" & source
r = "" : r = o.DLLVer(1) : Raised "too many arguments", r, "450|"
r = "" : r = o.SetFrequency(1000) : Raised "too few arguments", r, "450|"
r = "" : r = o.SetSigGen("CW", , 3) : Raised "omitted argument read", r, "13|Type mismatch" & source
r = "" : r = o.SetSigGen("SETTRIGGER", 0) : Raised "omitted arguments not read", r, "ok:OK"
r = "" : r = o.SetSigGen("NOSUCH") : Raised "unknown keyword", r, "ok:"
r = "" : r = o.NoSuchMethod() : Raised "unknown method", r, "438|"
On Error GoTo 0

' Prompts go to the unattended log: a message box answered OK, a dialog cancelled.
Check "box", o.SetSigGen("LEVELHOP", 1000, 0, -10, 5, "ON"), "Dwell time must be between 26 and 65500 us."
Check "dialog", o.ReadFplan("?"), "Error reading file."

Set b = CreateObject("Synthor01.Synthor_01_vexa")
Check "second object sees the instrument", b.LockStatus(), "Locked"
Check "GenOff", b.GenOff(), "OK"
Check "CloseSigGen", b.CloseSigGen(), "OK"
Check "CloseSigGen again, other object", o.CloseSigGen(), "Error. No instrument found."

WScript.Echo passed & " passed, " & failed & " failed"
