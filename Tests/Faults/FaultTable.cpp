#include "FaultTable.h"

#include <algorithm>
#include <cctype>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iomanip>

namespace {

/// The one table of this program.
struct Table {
    std::ofstream file;
    int rows = 0;
    int failedRows = 0;

    static Table& shared() {
        static Table table;
        return table;
    }

    void write(const std::string& fault, const std::string& operation, const std::string& outcome) {
        constexpr int faultWidth = 56;
        constexpr int operationWidth = 18;
        file << std::left << std::setw(faultWidth) << fault << std::setw(operationWidth)
             << operation << outcome << std::endl;
    }
};

std::string inCapitals(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char letter) { return std::toupper(letter); });
    return text;
}

/// How many checks of the test that runs have failed so far.
int numberOfFailures() {
    const testing::TestResult& result =
        *testing::UnitTest::GetInstance()->current_test_info()->result();
    int failures = 0;
    for (int part = 0; part < result.total_part_count(); ++part)
        failures += result.GetTestPartResult(part).failed() ? 1 : 0;
    return failures;
}

} // namespace

void FaultTable::SetUp() {
    const std::filesystem::path folder = VT_FAULT_TABLES;
    std::filesystem::create_directories(folder);
    Table::shared().file.open(folder / (subject_ + ".txt"));
    Table::shared().write("FAULT OF THE " + inCapitals(subject_), "OPERATION", "WHAT CAME OF IT");
}

void FaultTable::TearDown() {
    Table& table = Table::shared();
    table.file << table.rows << " rows, " << table.failedRows << " failed\n";
    table.file.close();
}

FaultRow::FaultRow(std::string fault, std::string operation)
    : fault_(std::move(fault)), operation_(std::move(operation)),
      failuresBefore_(numberOfFailures()), exceptionsBefore_(std::uncaught_exceptions()) {}

FaultRow::~FaultRow() {
    const bool failed =
        numberOfFailures() > failuresBefore_ || std::uncaught_exceptions() > exceptionsBefore_;
    Table& table = Table::shared();
    ++table.rows;
    table.failedRows += failed ? 1 : 0;
    table.write(fault_, operation_, (failed ? "FAILED: " : "") + outcome_);
}
