#pragma once

#include <gtest/gtest.h>

#include <string>

/// The table that a test program leaves in Testing/Faults of the build folder: what came of each
/// fault for each operation, a row for each, and how many rows there are and failed. Each row is in
/// the file as soon as it is known. To be added to the program's global environments.
class FaultTable : public testing::Environment {
public:
    /// What has the faults, in one word; the file's name.
    explicit FaultTable(std::string subject) : subject_(std::move(subject)) {}

    void SetUp() override;
    void TearDown() override;

private:
    std::string subject_;
};

/// A row of the table, written when this ends. One during whose life the test has failed says so.
class FaultRow {
public:
    FaultRow(std::string fault, std::string operation);
    FaultRow(const FaultRow&) = delete;
    FaultRow& operator=(const FaultRow&) = delete;
    ~FaultRow();

    void setOutcome(const std::string& outcome) { outcome_ = outcome; }

private:
    std::string fault_;
    std::string operation_;
    std::string outcome_ = "not known";
    int failuresBefore_;
    int exceptionsBefore_;
};
