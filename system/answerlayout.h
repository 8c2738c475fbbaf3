#pragma once

#include "system/machineanswers.h"

#include <cstddef>
#include <string>
#include <vector>

namespace sys {

/// Bytes of a text or an answer, from `begin` to before `end`; they can lie beyond its end.
struct range {
    std::size_t begin, end;
};

/// What the bytes of an answer are to somebody who wants to give it away.
struct answerLayout {
    std::vector<range> identifying; ///< texts that are replaced, however short they are
    std::vector<range> kept;        ///< never changed
    std::vector<range> cleared;     ///< nobody needs them, and nobody knows what they hold
    std::string worldWideName;      ///< which the answer holds: its bytes, first ones first; empty: none
    std::size_t keptDigits = 0;     ///< of that name in hexadecimal: its format and its maker
    bool isText = false;            ///< as bytes, no number stands in it
    bool isSwapped = false;         ///< the identifying texts are like that too
    bool mayHaveChecksum = false;   ///< in the last byte, of an ATA sector
};

answerLayout layoutOfInquiry();
answerLayout layoutOfSense();
answerLayout layoutOfIdentify(const bytes& answer);

/// Of an answer to INQUIRY for the unit serial number page. `inquiry` is what the node has answered to a standard
/// INQUIRY before: where the device sent less than it was asked for, that is still in the buffer.
answerLayout layoutOfSerialPage(const scsiAnswer& page, const bytes& inquiry);

/// Of what the kernel calls a device for good (drivers/scsi/scsi_lib.c, scsi_vpd_lun_id). `inquiry` is as above.
answerLayout layoutOfWwid(const std::string& wwid, const bytes& inquiry);

/// The product that an INQUIRY answer names as the USB listing would: without outer blanks, and the vendor where there
/// is no product. "" where there is neither.
std::string productOf(const bytes& inquiry);

/// Corrects the checksum of the sector `changed` (ACS-3, 7.12.6.95), if there was a correct one before.
void correctChecksum(const std::string& before, std::string& changed);

} // namespace sys
