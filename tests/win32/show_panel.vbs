' Shows the control panel twice through the automation server, as a bench script would, and
' says what each call returned; scripts/test-win32-panel.sh drives the window meanwhile.
Set o = CreateObject("Synthor01.Synthor_01_vexa")
WScript.Echo "FND: " & o.FND()
WScript.Echo "ShowUI: " & o.ShowUI()
WScript.Echo "ShowUI: " & o.ShowUI()
