// The one list of result codes: X(code, meaning, cause), in the order of zvclr.h.
#ifndef ZVCLR_COMPANION_RESULT_LIST_H
#define ZVCLR_COMPANION_RESULT_LIST_H

// clang-format off
#define ZVCLR_RESULTS(X)                                                                                               \
    X(CLR_SUCCESS,                                                                                                     \
      "The operation succeeded.",                                                                                      \
      "Nothing needs to be done.")                                                                                     \
    X(ERR_FAILURE,                                                                                                     \
      "The operation failed for a reason without a code of its own.",                                                  \
      "Most often memory ran out while a profile was handled, or a file name could not be converted; free memory and " \
      "check the name. A profile that a tag was being added to or removed from is only good for release.")             \
    X(ERR_NO_MEMORY,                                                                                                   \
      "An allocation failed.",                                                                                         \
      "The image is too large for one call or memory is short; convert fewer rows at a time.")                         \
    X(ERR_FILE_WRITE,                                                                                                  \
      "Writing a file failed.",                                                                                        \
      "The disk is full, the file or its folder cannot be written, a backup has a name that cannot be used, or no "    \
      "profile image has been generated; make room, choose another place or name or generate the image first.")        \
    X(ERR_FILE_READ,                                                                                                   \
      "Reading a file failed.",                                                                                        \
      "The file is damaged or shorter than its contents say, or an emulation table is not a baseline TIFF; check the " \
      "file.")                                                                                                         \
    X(ERR_FILE_NOT_FOUND,                                                                                              \
      "A named file does not exist.",                                                                                  \
      "The name of a profile or an emulation table is misspelt, or longer than 259 characters; correct or shorten it.")\
    X(ERR_IMAGE_OPEN,                                                                                                  \
      "The image file could not be opened for scanning.",                                                              \
      "The file went, was locked or lost its rights just after its format was looked at, or memory or the process's "  \
      "room for open files is short; try again.")                                                                      \
    X(ERR_INVALID_PARAMETER,                                                                                           \
      "An argument or a field of a record cannot be used.",                                                            \
      "A pointer is null, a size is below 1, a padding is negative, a buffer is smaller than the image and its "       \
      "padding, a field of an ICC tag is out of range or counts past the tag's end, or a profile has one of the "      \
      "sizes that a JPEG file cannot hold; check the arguments against the header.")                                   \
    X(ERR_FILE_OPEN,                                                                                                   \
      "A file could not be opened.",                                                                                   \
      "The file is missing, locked or protected, or no plain file, or its folder does not exist; check its name and "  \
      "its rights.")                                                                                                   \
    X(ERR_BAD_TAG,                                                                                                     \
      "A tag is missing or a selector is out of range, or an HLS pixel without saturation has a hue.",                 \
      "The profile lacks the tag that was asked for, or the tag lies outside the profile or lacks a part; or the HLS " \
      "image comes from another encoder: store hue 0 in achromatic pixels.")                                           \
    X(ERR_BAD_POINTER,                                                                                                 \
      "A record or a pixel buffer cannot be read or written.",                                                         \
      "A buffer is shorter than width, height and padding say, or has been released; check the sizes that were "       \
      "passed.")                                                                                                       \
    X(ERR_FILE_FAULT,                                                                                                  \
      "A memory fault was caught while an image file was scanned.",                                                    \
      "The file was cut short while it was read, or lies on a medium or in a network that failed; check these, and "   \
      "copy the file before the next try.")                                                                            \
    X(ERR_INVALID_HANDLE,                                                                                              \
      "The pointer is not a live converter.",                                                                          \
      "The converter has been released already or was never created; create it again.")                                \
    X(ERR_SAME_BUFFER,                                                                                                 \
      "Source and destination are one buffer in one colour space.",                                                    \
      "There is nothing to convert in place; pass another destination or leave out the call.")                         \
    X(ERR_COLORSPACE_UNSUPPORTED,                                                                                      \
      "The colour space is not legal for the operation.",                                                              \
      "The id is not one of the eighteen, or the method does not serve the pair; use the built-in method or go "       \
      "through RGB.")                                                                                                  \
    X(ERR_METHOD_UNAVAILABLE,                                                                                          \
      "No usable conversion method is there.",                                                                         \
      "The active method is not among the enabled ones, or was not prepared for this pair; enable it when the "        \
      "converter is created.")                                                                                         \
    X(ERR_PROFILE_LOAD,                                                                                                \
      "A profile could not be opened by the transform engine.",                                                        \
      "The file is no ICC profile, is damaged, or too many are open: converters keep their profile files open.")       \
    X(ERR_TRANSFORM_CREATE,                                                                                            \
      "A profile does not fit the pixel format.",                                                                      \
      "The profile is for another colour space than the pixels, for example RGB for CMYK; choose one of the right "    \
      "kind.")                                                                                                         \
    X(ERR_STRUCT_SIZE,                                                                                                 \
      "The size field of a record is wrong.",                                                                          \
      "The field was not set, or the program was compiled with a header of another version; set it to sizeof the "     \
      "record.")                                                                                                       \
    X(ERR_YUV_SAMPLING_RATIO,                                                                                          \
      "The sampling periods of U and V do not divide each other.",                                                     \
      "Periods such as 2 and 3 were given in one direction; make one of them a multiple of the other.")                \
    X(ERR_YUV_VERTICAL_PACKED,                                                                                         \
      "A packed YUV layout has vertical sub-sampling.",                                                                \
      "Only planar layouts can skip rows of chroma; set the vertical periods to 1 or describe planes.")                \
    X(ERR_YUV_PLANAR_PADDING,                                                                                          \
      "A planar YUV layout has row padding.",                                                                          \
      "Rows of planes must follow each other directly; pack the rows and pass no source padding.")                     \
    X(ERR_WIDTH_MULTIPLE,                                                                                              \
      "The width is not a multiple of the format's block.",                                                            \
      "Two pixels share chroma in YUY2 and UYVY, eight form a block in Y41P; crop or pad the image.")                  \
    X(ERR_YVU9_SIZE,                                                                                                   \
      "Width or height of a YVU9 image is not a multiple of 4.",                                                       \
      "YVU9 holds one chroma value for 4 x 4 pixels; crop or pad the image.")                                          \
    X(ERR_NO_PROFILE,                                                                                                  \
      "No ICC profile is there.",                                                                                      \
      "The image file carries no profile, an EPS file one of less than 81 bytes, or profileData was null when it was " \
      "to be saved; name a profile, put one into the file, or convert without ICC profiles.")                          \
    X(ERR_PROFILE_TRUNCATED,                                                                                           \
      "The data ended inside a profile.",                                                                              \
      "The image file was cut short, or the profile in an EPS file has lines that end with a bare line feed, blanks "  \
      "between its digits or no end line; fetch the file again, or have it written anew.")                             \
    X(ERR_PROFILE_UNUSABLE,                                                                                            \
      "A profile or its transform cannot be used.",                                                                    \
      "The profile lacks what the conversion needs, or the platform refuses it, or an EPS file ends where its "        \
      "profile begins; choose another profile or file.")                                                               \
    X(ERR_COLORSPACE_MISMATCH,                                                                                         \
      "The platform's colour management found colour spaces that do not match.",                                       \
      "The profiles belong to other spaces than the pixels; check which profile is for input and which for output.")   \
    X(ERR_UNKNOWN_TAG,                                                                                                 \
      "Warning: the signature of the tag is unknown; the tag was read or added all the same.",                         \
      "The tag is a private or newer one; use the record of its type, and delete it without asking for its data.")     \
    X(ERR_UNKNOWN_TAG_TYPE,                                                                                            \
      "Warning: the type of the tag is unknown; the tag was read or added as bytes.",                                  \
      "The type is a private, newer or older one; treat the data as raw bytes.")                                       \
    X(ERR_UNKNOWN_TAG_AND_TYPE,                                                                                        \
      "Warning: signature and type of the tag are unknown; the tag was read or added as bytes.",                       \
      "The profile holds private data; treat it as raw bytes.")                                                        \
    X(ERR_BAD_PROFILE,                                                                                                 \
      "A profile fails a basic check.",                                                                                \
      "It is no ICC profile, is damaged or of a version before 4, or its tags do not add up to the size in its "       \
      "header, as after the deletion of the last one; choose another one or put the size right.")                      \
    X(ERR_FORMAT_NO_ICC,                                                                                               \
      "ICC profiles are not loaded from files of this format, or not saved into them.",                                \
      "Profiles are loaded from JPEG, TIFF and EPS files and Macintosh pictures, and saved into JPEG, TIFF and GIF "   \
      "files, whatever the file's name; convert the image to such a format.")
// clang-format on

#endif  // ZVCLR_COMPANION_RESULT_LIST_H
