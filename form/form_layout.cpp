#include "form/form_layout.hpp"

#include <array>

namespace synthor::panel {
namespace {

using K = ControlKind;

constexpr std::string_view kDwellTip = "Enter dwell time between 25 and 65500 us";

// The misspelt caption "Swtich RF Off", the dwell tooltips that say 25 while the checks take 26,
// the "dBm" level-step unit of Frame3 beside the "dB" of Frame6 and the differing decimals of the
// default texts are the panel's own and stay as they are.
constexpr std::array kLayout = std::to_array<ControlEntry>({
    {"Frame1", K::Frame, "", "Frequency set", ""},
    {"Label1", K::Label, "Frame1", "Frequency", ""},
    {"Label3", K::Label, "Frame1", "MHz", ""},
    {"Text1", K::TextBox, "Frame1", "1000.00", ""},
    {"Label2", K::Label, "Frame1", "Frequency step", ""},
    {"Label4", K::Label, "Frame1", "MHz", ""},
    {"Text2", K::TextBox, "Frame1", "10.00", ""},
    {"Command1", K::CommandButton, "Frame1", "Set frequency", ""},
    {"Command2", K::CommandButton, "Frame1", "Up", ""},
    {"Command3", K::CommandButton, "Frame1", "Down", ""},

    {"Frame2", K::Frame, "", "Phase set", ""},
    {"Label5", K::Label, "Frame2", "Phase", ""},
    {"Label6", K::Label, "Frame2", "deg", ""},
    {"Text3", K::TextBox, "Frame2", "0.00", ""},
    {"Label7", K::Label, "Frame2", "Phase step", ""},
    {"Label8", K::Label, "Frame2", "deg", ""},
    {"Text4", K::TextBox, "Frame2", "10.00", ""},
    {"Command4", K::CommandButton, "Frame2", "Set phase", ""},
    {"Command5", K::CommandButton, "Frame2", "Up", ""},
    {"Command6", K::CommandButton, "Frame2", "Down", ""},

    {"Frame3", K::Frame, "", "Amplitude set", ""},
    {"Label9", K::Label, "Frame3", "Output level", ""},
    {"Label10", K::Label, "Frame3", "dBm", ""},
    {"Text5", K::TextBox, "Frame3", "0.0", ""},
    {"Label11", K::Label, "Frame3", "Amplitude step", ""},
    {"Label12", K::Label, "Frame3", "dBm", ""},
    {"Text6", K::TextBox, "Frame3", "0.5", ""},
    {"Command7", K::CommandButton, "Frame3", "Set level", ""},
    {"Command8", K::CommandButton, "Frame3", "Up", ""},
    {"Command9", K::CommandButton, "Frame3", "Down", ""},

    {"Frame4", K::Frame, "", "FM Modulation", ""},
    {"Option1", K::OptionButton, "Frame4", "Off", "Turn off FM", true},
    {"Option2", K::OptionButton, "Frame4", "400Hz", "Click to turn on 400Hz FM"},
    {"Option3", K::OptionButton, "Frame4", "1kHz", "Click to turn on 1kHz FM"},
    {"Option13", K::OptionButton, "Frame4", "Ext", ""},
    {"Label13", K::Label, "Frame4", "Deviation kHz", ""},
    {"Text7", K::TextBox, "Frame4", "10.0", "Enter deviation value (200kHz max)"},

    {"Frame5", K::Frame, "", "Frequency sweep", ""},
    {"Label14", K::Label, "Frame5", "Start frequency", ""},
    {"Label15", K::Label, "Frame5", "MHz", ""},
    {"Text8", K::TextBox, "Frame5", "1000.000", ""},
    {"Label16", K::Label, "Frame5", "Stop frequency", ""},
    {"Label17", K::Label, "Frame5", "MHz", ""},
    {"Text9", K::TextBox, "Frame5", "2000.000", ""},
    {"Label18", K::Label, "Frame5", "Step size", ""},
    {"Label19", K::Label, "Frame5", "MHz", ""},
    {"Text10", K::TextBox, "Frame5", "10.00", ""},
    {"Label21", K::Label, "Frame5", "Dwell", ""},
    {"Label22", K::Label, "Frame5", "us", ""},
    {"Text11", K::TextBox, "Frame5", "100", ""},
    {"Label20", K::Label, "Frame5", "Trigger", ""},
    {"Line1", K::Line, "Frame5", "", ""},
    {"Option4", K::OptionButton, "Frame5", "Free run", "", true},
    {"Option5", K::OptionButton, "Frame5", "Ext +edge", ""},
    {"Option6", K::OptionButton, "Frame5", "Ext -edge", ""},
    {"Check1", K::CheckBox, "Frame5", "Get plan from file", ""},
    {"Check4", K::CheckBox, "Frame5", "Step mode", ""},
    {"Command11", K::CommandButton, "Frame5", "Start", ""},
    {"Command12", K::CommandButton, "Frame5", "Stop", ""},

    {"Frame6", K::Frame, "", "Level sweep", ""},
    {"Label39", K::Label, "Frame6", "Start level", ""},
    {"Label40", K::Label, "Frame6", "dBm", ""},
    {"Text20", K::TextBox, "Frame6", "0.0", ""},
    {"Label42", K::Label, "Frame6", "Stop level", ""},
    {"Label41", K::Label, "Frame6", "dBm", ""},
    {"Text21", K::TextBox, "Frame6", "-10.0", ""},
    {"Label43", K::Label, "Frame6", "Amplitude step", ""},
    {"Label44", K::Label, "Frame6", "dB", ""},
    {"Text22", K::TextBox, "Frame6", "1.0", ""},
    {"Label46", K::Label, "Frame6", "Dwell", ""},
    {"Label47", K::Label, "Frame6", "us", ""},
    {"Text23", K::TextBox, "Frame6", "100", ""},
    {"Label45", K::Label, "Frame6", "Trigger", ""},
    {"Line2", K::Line, "Frame6", "", ""},
    {"Option7", K::OptionButton, "Frame6", "Free run", "", true},
    {"Option8", K::OptionButton, "Frame6", "Ext +edge", ""},
    {"Option9", K::OptionButton, "Frame6", "Ext -edge", ""},
    {"Check2", K::CheckBox, "Frame6", "Get plan from file", ""},
    {"Check5", K::CheckBox, "Frame6", "Step mode", ""},
    {"Command19", K::CommandButton, "Frame6", "Start", ""},
    {"Command20", K::CommandButton, "Frame6", "Stop", ""},

    {"Frame7", K::Frame, "", "Frequency hop", ""},
    {"Label23", K::Label, "Frame7", "Frequency 1", ""},
    {"Label24", K::Label, "Frame7", "MHz", ""},
    {"Text12", K::TextBox, "Frame7", "1000.000", ""},
    {"Label25", K::Label, "Frame7", "Frequency 2", ""},
    {"Label26", K::Label, "Frame7", "MHz", ""},
    {"Text13", K::TextBox, "Frame7", "1010.000", ""},
    {"Label27", K::Label, "Frame7", "Dwell", ""},
    {"Label28", K::Label, "Frame7", "us", ""},
    {"Text14", K::TextBox, "Frame7", "100", kDwellTip},
    {"Command13", K::CommandButton, "Frame7", "Start", ""},
    {"Command14", K::CommandButton, "Frame7", "Stop", ""},

    {"Frame8", K::Frame, "", "Phase hop", ""},
    {"Label29", K::Label, "Frame8", "Phase step", ""},
    {"Label30", K::Label, "Frame8", "deg", ""},
    {"Text15", K::TextBox, "Frame8", "45", ""},
    {"Label31", K::Label, "Frame8", "Dwell time", ""},
    {"Label32", K::Label, "Frame8", "us", ""},
    {"Text16", K::TextBox, "Frame8", "100", kDwellTip},
    {"Command15", K::CommandButton, "Frame8", "Start", ""},
    {"Command16", K::CommandButton, "Frame8", "Stop", ""},

    {"Frame9", K::Frame, "", "Level hop", ""},
    {"Label33", K::Label, "Frame9", "Level 1", ""},
    {"Label34", K::Label, "Frame9", "dBm", ""},
    {"Text17", K::TextBox, "Frame9", "0.0", ""},
    {"Label35", K::Label, "Frame9", "Level 2", ""},
    {"Label36", K::Label, "Frame9", "dBm", ""},
    {"Text18", K::TextBox, "Frame9", "-10.0", ""},
    {"Label37", K::Label, "Frame9", "Dwell time", ""},
    {"Label38", K::Label, "Frame9", "us", ""},
    {"Text19", K::TextBox, "Frame9", "100", ""},
    {"Command17", K::CommandButton, "Frame9", "Start", ""},
    {"Command18", K::CommandButton, "Frame9", "Stop", ""},

    {"Frame10", K::Frame, "", "AM Modulation", ""},
    {"Option10", K::OptionButton, "Frame10", "Off", "Turn off AM", true},
    {"Option11", K::OptionButton, "Frame10", "400Hz", "Click to turn on 400Hz AM"},
    {"Option12", K::OptionButton, "Frame10", "1kHz", "Click to turn on 1kHz AM"},
    {"Option14", K::OptionButton, "Frame10", "Ext", ""},
    {"Label48", K::Label, "Frame10", "Modulation (%)", ""},
    {"Text24", K::TextBox, "Frame10", "50", "Enter modulation depth value (90% max)"},

    {"Frame11", K::Frame, "", "Complex sweep", ""},
    {"Check3", K::CheckBox, "Frame11", "Get plan from file",
     "Click to load phase & amplitude sweep plan from file"},
    {"Check6", K::CheckBox, "Frame11", "Step mode", ""},
    {"Command21", K::CommandButton, "Frame11", "Start", ""},
    {"Command22", K::CommandButton, "Frame11", "Stop", ""},

    {"Frame12", K::Frame, "", "Swtich RF Off", ""},
    {"Command23", K::CommandButton, "Frame12", "ON", ""},

    {"Command10", K::CommandButton, "", "Exit", ""},
    {"CommonDialog1", K::FileDialog, "", "", ""},
    {"StatusBar1", K::StatusBar, "", "", ""},
});

}  // namespace

std::span<const ControlEntry> formLayout() {
    return kLayout;
}

}  // namespace synthor::panel
