// Offsets and widths of the fields of the profile records, as the compiler has them.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "zvicc.h"

namespace zvtest {

struct RecordField {
    std::string name;
    size_t offset, width;
};
struct RecordLayout {
    std::string name;
    size_t size;
    std::vector<RecordField> fields;
};

inline RecordLayout layoutOf(const char* name, size_t size, const std::vector<RecordField>& fields) {
    return {name, size, fields};
}

inline std::vector<RecordLayout> recordLayouts() {
#define FIELD(Record, field)                                                                                           \
    RecordField { #field, offsetof(Record, field), sizeof(Record::field) }
#define LAYOUT(Record, ...) layoutOf(#Record, sizeof(Record), {__VA_ARGS__})
    return {
        LAYOUT(ClrIccHeader, FIELD(ClrIccHeader, size), FIELD(ClrIccHeader, cmmType), FIELD(ClrIccHeader, version),
               FIELD(ClrIccHeader, deviceClass), FIELD(ClrIccHeader, colorSpace), FIELD(ClrIccHeader, connectionSpace),
               FIELD(ClrIccHeader, dateTime), FIELD(ClrIccHeader, signature), FIELD(ClrIccHeader, platform),
               FIELD(ClrIccHeader, flags), FIELD(ClrIccHeader, manufacturer), FIELD(ClrIccHeader, model),
               FIELD(ClrIccHeader, attributes), FIELD(ClrIccHeader, renderingIntent), FIELD(ClrIccHeader, illuminant),
               FIELD(ClrIccHeader, creator), FIELD(ClrIccHeader, profileId), FIELD(ClrIccHeader, reserved)),
        LAYOUT(ClrIccTagEntry, FIELD(ClrIccTagEntry, signature), FIELD(ClrIccTagEntry, offset),
               FIELD(ClrIccTagEntry, size)),
        LAYOUT(ClrIccProfile, FIELD(ClrIccProfile, structSize), FIELD(ClrIccProfile, profileSize),
               FIELD(ClrIccProfile, tagDataSize), FIELD(ClrIccProfile, header), FIELD(ClrIccProfile, tagCount),
               FIELD(ClrIccProfile, tagTable), FIELD(ClrIccProfile, tagData), FIELD(ClrIccProfile, profileData)),
        LAYOUT(ClrIccTagChromaticity, FIELD(ClrIccTagChromaticity, typeSig), FIELD(ClrIccTagChromaticity, typeReserved),
               FIELD(ClrIccTagChromaticity, channels), FIELD(ClrIccTagChromaticity, phosphorType),
               FIELD(ClrIccTagChromaticity, coordinates)),
        LAYOUT(ClrIccTagColorantOrder, FIELD(ClrIccTagColorantOrder, typeSig),
               FIELD(ClrIccTagColorantOrder, typeReserved), FIELD(ClrIccTagColorantOrder, count),
               FIELD(ClrIccTagColorantOrder, order)),
        LAYOUT(ClrIccColorantEntry, FIELD(ClrIccColorantEntry, name), FIELD(ClrIccColorantEntry, pcs)),
        LAYOUT(ClrIccTagColorantTable, FIELD(ClrIccTagColorantTable, typeSig),
               FIELD(ClrIccTagColorantTable, typeReserved), FIELD(ClrIccTagColorantTable, count),
               FIELD(ClrIccTagColorantTable, entries)),
        LAYOUT(ClrIccTagData, FIELD(ClrIccTagData, typeSig), FIELD(ClrIccTagData, typeReserved),
               FIELD(ClrIccTagData, dataFlag), FIELD(ClrIccTagData, bytes), FIELD(ClrIccTagData, byteCount)),
        LAYOUT(ClrIccTagDateTime, FIELD(ClrIccTagDateTime, typeSig), FIELD(ClrIccTagDateTime, typeReserved),
               FIELD(ClrIccTagDateTime, dateTime)),
        LAYOUT(ClrIccTagMeasurement, FIELD(ClrIccTagMeasurement, typeSig), FIELD(ClrIccTagMeasurement, typeReserved),
               FIELD(ClrIccTagMeasurement, observer), FIELD(ClrIccTagMeasurement, backing),
               FIELD(ClrIccTagMeasurement, geometry), FIELD(ClrIccTagMeasurement, flare),
               FIELD(ClrIccTagMeasurement, illuminantType)),
        LAYOUT(ClrIccMlucEntry, FIELD(ClrIccMlucEntry, language), FIELD(ClrIccMlucEntry, country),
               FIELD(ClrIccMlucEntry, length), FIELD(ClrIccMlucEntry, offset)),
        LAYOUT(ClrIccTagMultiLocalized, FIELD(ClrIccTagMultiLocalized, typeSig),
               FIELD(ClrIccTagMultiLocalized, typeReserved), FIELD(ClrIccTagMultiLocalized, recordCount),
               FIELD(ClrIccTagMultiLocalized, recordSize), FIELD(ClrIccTagMultiLocalized, records),
               FIELD(ClrIccTagMultiLocalized, text)),
        LAYOUT(ClrIccNamedColorEntry, FIELD(ClrIccNamedColorEntry, name), FIELD(ClrIccNamedColorEntry, pcs),
               FIELD(ClrIccNamedColorEntry, device)),
        LAYOUT(ClrIccTagNamedColor2, FIELD(ClrIccTagNamedColor2, typeSig), FIELD(ClrIccTagNamedColor2, typeReserved),
               FIELD(ClrIccTagNamedColor2, vendorFlags), FIELD(ClrIccTagNamedColor2, colorCount),
               FIELD(ClrIccTagNamedColor2, deviceCoords), FIELD(ClrIccTagNamedColor2, prefix),
               FIELD(ClrIccTagNamedColor2, suffix), FIELD(ClrIccTagNamedColor2, colors)),
        LAYOUT(ClrIccProfileSeqEntry, FIELD(ClrIccProfileSeqEntry, manufacturer), FIELD(ClrIccProfileSeqEntry, model),
               FIELD(ClrIccProfileSeqEntry, attributes), FIELD(ClrIccProfileSeqEntry, technology),
               FIELD(ClrIccProfileSeqEntry, manufacturerText), FIELD(ClrIccProfileSeqEntry, modelText)),
        LAYOUT(ClrIccTagProfileSequence, FIELD(ClrIccTagProfileSequence, typeSig),
               FIELD(ClrIccTagProfileSequence, typeReserved), FIELD(ClrIccTagProfileSequence, count),
               FIELD(ClrIccTagProfileSequence, entries)),
        LAYOUT(ClrIccResponse, FIELD(ClrIccResponse, device), FIELD(ClrIccResponse, reserved),
               FIELD(ClrIccResponse, measure)),
        LAYOUT(ClrIccResponseCurve, FIELD(ClrIccResponseCurve, measurement), FIELD(ClrIccResponseCurve, counts),
               FIELD(ClrIccResponseCurve, patches), FIELD(ClrIccResponseCurve, responses)),
        LAYOUT(ClrIccTagResponseCurveSet, FIELD(ClrIccTagResponseCurveSet, typeSig),
               FIELD(ClrIccTagResponseCurveSet, typeReserved), FIELD(ClrIccTagResponseCurveSet, channels),
               FIELD(ClrIccTagResponseCurveSet, types), FIELD(ClrIccTagResponseCurveSet, offsets),
               FIELD(ClrIccTagResponseCurveSet, curves)),
        LAYOUT(ClrIccTagSignature, FIELD(ClrIccTagSignature, typeSig), FIELD(ClrIccTagSignature, typeReserved),
               FIELD(ClrIccTagSignature, value)),
        LAYOUT(ClrIccTagText, FIELD(ClrIccTagText, typeSig), FIELD(ClrIccTagText, typeReserved),
               FIELD(ClrIccTagText, text)),
        LAYOUT(ClrIccTagViewingConditions, FIELD(ClrIccTagViewingConditions, typeSig),
               FIELD(ClrIccTagViewingConditions, typeReserved), FIELD(ClrIccTagViewingConditions, illuminantXyz),
               FIELD(ClrIccTagViewingConditions, surroundXyz), FIELD(ClrIccTagViewingConditions, illuminantType)),
        LAYOUT(ClrIccTagArray, FIELD(ClrIccTagArray, typeSig), FIELD(ClrIccTagArray, typeReserved),
               FIELD(ClrIccTagArray, values), FIELD(ClrIccTagArray, count)),
        LAYOUT(ClrIccTagCurve, FIELD(ClrIccTagCurve, typeSig), FIELD(ClrIccTagCurve, typeReserved),
               FIELD(ClrIccTagCurve, entryCount), FIELD(ClrIccTagCurve, entries)),
        LAYOUT(ClrIccTagParametricCurve, FIELD(ClrIccTagParametricCurve, typeSig),
               FIELD(ClrIccTagParametricCurve, typeReserved), FIELD(ClrIccTagParametricCurve, functionType),
               FIELD(ClrIccTagParametricCurve, paramReserved), FIELD(ClrIccTagParametricCurve, parameters)),
        LAYOUT(ClrIccTagLut16, FIELD(ClrIccTagLut16, typeSig), FIELD(ClrIccTagLut16, typeReserved),
               FIELD(ClrIccTagLut16, inputChannels), FIELD(ClrIccTagLut16, outputChannels),
               FIELD(ClrIccTagLut16, gridPoints), FIELD(ClrIccTagLut16, lutPad), FIELD(ClrIccTagLut16, matrix),
               FIELD(ClrIccTagLut16, inputEntries), FIELD(ClrIccTagLut16, outputEntries),
               FIELD(ClrIccTagLut16, inputTables), FIELD(ClrIccTagLut16, clut), FIELD(ClrIccTagLut16, outputTables)),
        LAYOUT(ClrIccTagLut8, FIELD(ClrIccTagLut8, typeSig), FIELD(ClrIccTagLut8, typeReserved),
               FIELD(ClrIccTagLut8, inputChannels), FIELD(ClrIccTagLut8, outputChannels),
               FIELD(ClrIccTagLut8, gridPoints), FIELD(ClrIccTagLut8, lutPad), FIELD(ClrIccTagLut8, matrix),
               FIELD(ClrIccTagLut8, inputEntries), FIELD(ClrIccTagLut8, outputEntries),
               FIELD(ClrIccTagLut8, inputTables), FIELD(ClrIccTagLut8, clut), FIELD(ClrIccTagLut8, outputTables)),
        LAYOUT(ClrIccClut, FIELD(ClrIccClut, gridPoints), FIELD(ClrIccClut, precision), FIELD(ClrIccClut, clutPad),
               FIELD(ClrIccClut, data)),
        LAYOUT(ClrIccTagLutAToB, FIELD(ClrIccTagLutAToB, typeSig), FIELD(ClrIccTagLutAToB, typeReserved),
               FIELD(ClrIccTagLutAToB, inputChannels), FIELD(ClrIccTagLutAToB, outputChannels),
               FIELD(ClrIccTagLutAToB, lutReserved), FIELD(ClrIccTagLutAToB, offsetB),
               FIELD(ClrIccTagLutAToB, offsetMatrix), FIELD(ClrIccTagLutAToB, offsetM),
               FIELD(ClrIccTagLutAToB, offsetClut), FIELD(ClrIccTagLutAToB, offsetA), FIELD(ClrIccTagLutAToB, allData),
               FIELD(ClrIccTagLutAToB, curvesB), FIELD(ClrIccTagLutAToB, curvesM), FIELD(ClrIccTagLutAToB, curvesA),
               FIELD(ClrIccTagLutAToB, clut), FIELD(ClrIccTagLutAToB, matrix)),
        LAYOUT(SAVEFILEOPTION, FIELD(SAVEFILEOPTION, size), FIELD(SAVEFILEOPTION, backupName)),
        LAYOUT(SAVEFILEOPTIONA, FIELD(SAVEFILEOPTIONA, size), FIELD(SAVEFILEOPTIONA, backupName)),
    };
#undef FIELD
#undef LAYOUT
}

}  // namespace zvtest
