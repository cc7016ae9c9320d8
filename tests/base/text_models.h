/// The models of text and what their random texts are made of.
#pragma once

#include "models/address_model.h"
#include "models/guid_model.h"
#include "models/narrow_text_model.h"
#include "models/number_model.h"
#include "models/wide_text_model.h"
#include "support/model_runs.h"

namespace kr::test {

constexpr text_model text_models[] = {
    {check_address, "ipv4_fuzz", "0123456789012...."},
    {check_guid, "guid_fuzz", "0123456789abcdefABCDEF0123456789{-}"},
    {check_narrow_text, "utf8_fuzz", "abcxyz \xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\x7F"},
    {check_number, "number_fuzz", "012345678901234567890123456789xX-+aF \t./:"},
    {check_wide_text, "wide_fuzz", "aabbccAABBxyz\x01 @[`{"},
};

} // namespace kr::test
