// The raw data archive of an installation: what waits in the spool directory for it, and what it holds.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "terminal/Installation.h"
#include "terminal/RawBlocks.h"

class RawArchive {
public:
    explicit RawArchive(Installation& installation) : m_installation(installation) {}

    // The archive and the spool directory as they can be shown.
    std::string Name() const { return m_installation.FileName("RawFile"); }
    std::string SpoolName() const;

    // In the order of the archive; none without an archive. Throws a Refusal when it cannot be read.
    std::vector<RawBlock> Blocks() const;

    // Bytes of a file that waits in the spool directory. Throws a Refusal when there is no such file, or when
    // it is not one to be moved.
    std::uintmax_t SpooledBytes(const std::string& file) const;

    // Moves a file of the spool directory into the archive. Throws a Refusal, with the file where it was,
    // when that fails.
    void Add(const std::string& file) const;

    // Puts bytes into the archive, by way of a file of the spool directory. The name of the block: `name`, or
    // one like it while a file of that name waits. Throws a Refusal when that fails.
    std::string AddBytes(std::string_view bytes, const std::string& name) const;

    // Writes the content of a block, which is given by its name or its number (from 1), byte for byte into a
    // new file: `output`, or one of the block's name when that is "". The name of the file. Throws a Refusal
    // when there is no such block, or the file exists already or cannot be written.
    std::string Extract(const std::string& block, const std::string& output) const;

    // Throws a Refusal when there is no archive or it cannot be deleted.
    void Delete() const;

private:
    Installation& m_installation;
};
