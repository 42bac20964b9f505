// The steps of the demonstration, in order. Each explains itself, makes its calls, and holds what
// comes back against what ought to.
#pragma once

#include "apps/demo/form.h"

namespace kel::demo {

// The country that a step makes and deletes; the lists hold no such code.
inline constexpr const wchar_t* kNewCountry = L"ZZ";

// The whole. The exit code of the program.
int Demonstrate(const Text& isoCodesFolder, const Text& accountPath);

// steps_connection.cpp
void CreateTheRoot(Report& report, const Base& base);
void TieTheKeyField(Report& report, const Base& base);
void ConnectTheSession(Report& report, const Form& form);
void FailToConnect(Report& report, const Form& form);
void DisconnectTheSession(Report& report, const Form& form);

// steps_record.cpp
void ReadACountry(Report& report, const Form& form);
void MindTheMarks(Report& report, const Form& form);
void ChangeAValue(Report& report, const Form& form);
void WriteTheRecord(Report& report, const Form& form);
void EditRows(Report& report, const Form& form);
void MakeAndDeleteARecord(Report& report, const Form& form);

// steps_queries.cpp
void SelectRecords(Report& report, const Form& form);
void SortASelection(Report& report, const Form& form);
void PrintAReport(Report& report, const Form& form);

// steps_programs.cpp
void CallAStoredProgram(Report& report, const Form& form);
void CallAProgramForAField(Report& report, const Form& form);

// steps_sharing.cpp
void MeetALock(Report& report, const Form& form);
void ReadWhatIsMissing(Report& report, const Form& form);
void ShareACommonValue(Report& report, const Form& form);
void ListWhatIsKnown(Report& report, const Form& form);

}  // namespace kel::demo
