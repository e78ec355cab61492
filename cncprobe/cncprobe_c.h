/* cncprobe_c.h: the library seen from C, and from any language that can call a C function (C#,
 * Delphi, Python ctypes), whatever compiler built the host.
 *
 *   cncprobe_extraction* run = NULL;
 *   cncprobe_error e = cncprobe_extract_file("run.txt", CNCPROBE_UNITS_MM,
 *                                            CNCPROBE_TRUE_POSITION_DIAMETRAL, &run);
 *   if (e != CNCPROBE_OK) { fprintf(stderr, "run.txt: %s\n", cncprobe_error_text(e)); return; }
 *   size_t n = 0;
 *   cncprobe_extraction_point_count(run, &n);
 *   cncprobe_point* points = malloc(n * sizeof *points);
 *   cncprobe_extraction_points(run, 0, n, points);          // every point, one call
 *   cncprobe_summary summary;
 *   cncprobe_extraction_summary(run, &summary);
 *   puts(summary.passed ? "PASS" : "FAIL");
 *   free(points);
 *   cncprobe_extraction_free(&run);                          // run is NULL again
 *
 * The rules every function keeps:
 * - Every function that can fail returns a cncprobe_error and hands its results out through
 *   pointers; on an error the outputs are left as they were, except a handle out-pointer, which is
 *   set to NULL. A NULL handle, a NULL out-pointer or a value outside its enum is
 *   CNCPROBE_ERROR_INVALID_ARGUMENT. Nothing is thrown, printed or aborted.
 * - Handles are opaque. Each is made by one function and freed by its own free function, which
 *   takes the address of the caller's variable and sets it to NULL, so freeing the same variable
 *   twice is harmless and freeing NULL does nothing. A copy of a freed handle must not be used.
 *   A handle is never changed after it is made: several threads may read one handle at once.
 * - Words the library knows (error texts, status names, kinds, verdicts) are static: returned as
 *   const char*, valid for the life of the process, never NULL, never to be freed.
 * - Text that came from a file (labels, feature names, references, messages) is copied into the
 *   caller's buffer: (char* buffer, size_t capacity, size_t* needed). At most `capacity` bytes are
 *   written, the terminating NUL included; `needed` (may be NULL) receives the full size with the
 *   NUL. A buffer too small gets the text cut before the character that does not fit, still
 *   NUL-terminated, and CNCPROBE_ERROR_BUFFER_TOO_SMALL; buffer may be NULL when capacity is 0,
 *   to ask for the size. Text is UTF-8: a byte the machine wrote that is not UTF-8 becomes U+FFFD,
 *   as in the tool's JSON. A NUL byte inside a text ends it for C's string functions.
 * - File names are UTF-8.
 * - Lengths are millimetres and coordinates CAD coordinates, whatever units the file was printed
 *   in; angles are degrees. A value that is absent is NaN (isnan() tells).
 * - Structs hold only double and 32- and 64-bit integer fields, doubles first, in the order
 *   written here, with no padding on the platforms the library is built for; enums are passed as
 *   int32_t.
 */
#ifndef CNCPROBE_CNCPROBE_C_H
#define CNCPROBE_CNCPROBE_C_H

#include <stddef.h>
#include <stdint.h>

#include "cncprobe/export.h"

#ifdef __cplusplus
#define CNCPROBE_C_API extern "C" CNCPROBE_API
#else
#define CNCPROBE_C_API CNCPROBE_API
#endif

/* ---------------------------------------------------------------------------------------------
 * Errors and the library's version. */

/* What a function that can fail returns: CNCPROBE_OK or one of the codes below. */
typedef int32_t cncprobe_error;
enum {
  CNCPROBE_OK = 0,
  /* A NULL handle, path or out-pointer, or units or a convention outside their values. */
  CNCPROBE_ERROR_INVALID_ARGUMENT = 1,
  /* A path, point, feature, check or reference index at or past the count. */
  CNCPROBE_ERROR_INDEX_OUT_OF_RANGE = 2,
  /* The text did not fit the caller's buffer; the buffer holds what fitted. */
  CNCPROBE_ERROR_BUFFER_TOO_SMALL = 3,
  /* The input could not be read: */
  CNCPROBE_ERROR_FILE_MISSING = 4,      /* no such file */
  CNCPROBE_ERROR_FILE_IS_DIRECTORY = 5, /* a directory */
  CNCPROBE_ERROR_FILE_NOT_REGULAR = 6,  /* a FIFO, device or socket: never read */
  CNCPROBE_ERROR_PERMISSION_DENIED = 7, /* not allowed to read it */
  CNCPROBE_ERROR_READ_ERROR = 8,        /* opened, but reading failed, or an unusable name */
  CNCPROBE_ERROR_OUT_OF_MEMORY = 9,
  /* A fault of the library itself; please report it with the input that caused it. */
  CNCPROBE_ERROR_INTERNAL = 10,
  /* An output file could not be created or written whole. */
  CNCPROBE_ERROR_WRITE_FAILED = 11
};

/* One line of English saying what `error` means ("no such file"); "unknown error" for a value
 * outside the list. Static. */
CNCPROBE_C_API const char* cncprobe_error_text(cncprobe_error error);

/* The library's version, "major.minor.patch". Static. */
CNCPROBE_C_API const char* cncprobe_version(void);

/* ---------------------------------------------------------------------------------------------
 * Enums shared by the functions below. */

/* The units a results file or a settings file prints its lengths in. */
enum { CNCPROBE_UNITS_MM = 0, CNCPROBE_UNITS_INCH = 1 };

/* How a true-position tolerance (TOL TP) is read: a zone of that diameter centred on the nominal
 * (the default, as drawings mean it: passes when twice the offset is within it), or a radius. */
enum { CNCPROBE_TRUE_POSITION_DIAMETRAL = 0, CNCPROBE_TRUE_POSITION_RADIAL = 1 };

/* How a check or a point compares with its tolerance. Not toleranced is shown, and never counts
 * as a pass. */
enum {
  CNCPROBE_VERDICT_NOT_TOLERANCED = 0,
  CNCPROBE_VERDICT_IN = 1,
  CNCPROBE_VERDICT_OUT = 2,
  CNCPROBE_VERDICT_UNMEASURED = 3
};

/* The kind of a result. A perpendicular distance is a wall or a channel. */
enum {
  CNCPROBE_KIND_PROBE_PATH = 0,
  CNCPROBE_KIND_CIRCLE = 1,
  CNCPROBE_KIND_RECTANGLE = 2,
  CNCPROBE_KIND_CORNER = 3,
  CNCPROBE_KIND_SURFACE = 4,
  CNCPROBE_KIND_ANGLE = 5,
  CNCPROBE_KIND_PERPENDICULAR_DISTANCE = 6
};

/* The quantity of a feature a check judges. Lengths in mm, the angle in degrees. A centre or
 * corner offset is the radial distance of the actual from the nominal point; a position is a
 * surface's place along its normal; a middle is a wall or channel middle along its direction. */
enum {
  CNCPROBE_QUANTITY_DIAMETER = 0,
  CNCPROBE_QUANTITY_LENGTH = 1,
  CNCPROBE_QUANTITY_WIDTH = 2,
  CNCPROBE_QUANTITY_CENTRE_OFFSET = 3,
  CNCPROBE_QUANTITY_CORNER_OFFSET = 4,
  CNCPROBE_QUANTITY_POSITION = 5,
  CNCPROBE_QUANTITY_MIDDLE = 6,
  CNCPROBE_QUANTITY_ANGLE = 7
};

/* The names the tool's JSON uses: "in", "out"...; "probe_path", "circle"...; "diameter",
 * "centre_offset"...; "diametral", "radial". "unknown" for a value outside the list. Static. */
CNCPROBE_C_API const char* cncprobe_verdict_name(int32_t verdict);
/* The JSON name of a result kind (CNCPROBE_KIND_...); "unknown" outside the list. Static. */
CNCPROBE_C_API const char* cncprobe_kind_name(int32_t kind);
/* The JSON name of a quantity (CNCPROBE_QUANTITY_...); "unknown" outside the list. Static. */
CNCPROBE_C_API const char* cncprobe_quantity_name(int32_t quantity);
/* The JSON name of a true-position convention; "unknown" outside the list. Static. */
CNCPROBE_C_API const char* cncprobe_true_position_name(int32_t convention);

/* ---------------------------------------------------------------------------------------------
 * Extraction: a results file turned into probe paths and features, with their verdicts. */

/* The outcome of an extraction: 0 success, else the latest problem met. Every status but
 * CNCPROBE_STATUS_NO_RESULTS leaves results worth showing. */
enum {
  CNCPROBE_STATUS_SUCCESS = 0,
  CNCPROBE_STATUS_MISSING_END = 1,
  CNCPROBE_STATUS_MULTIPLE_STARTS = 2,
  CNCPROBE_STATUS_UNMATCHED_MEASURED_POINT = 3,
  CNCPROBE_STATUS_UNMEASURED_NOMINAL_POINT = 4,
  CNCPROBE_STATUS_NO_RESULTS = 5,
  CNCPROBE_STATUS_OUTSIDE_START_END = 6,
  CNCPROBE_STATUS_RESULT_CONFLICT = 7
};

/* "success", "missing_end"... as in the tool's JSON; "unknown" for another value. Static. */
CNCPROBE_C_API const char* cncprobe_status_name(int32_t status);
/* What the status means for a person reading the results, in one line. Static. */
CNCPROBE_C_API const char* cncprobe_status_meaning(int32_t status);

/* One results file read and judged: made by cncprobe_extract_file or cncprobe_extract_memory. */
typedef struct cncprobe_extraction cncprobe_extraction;

/* Reads the results file at `path` (UTF-8), printed in `units`, and judges its true positions by
 * `true_position`. On CNCPROBE_OK *extraction holds the run (free it with
 * cncprobe_extraction_free), whatever its extraction status: an empty file or one without a
 * START gives a handle whose status is CNCPROBE_STATUS_NO_RESULTS. A file that cannot be read gives
 * its CNCPROBE_ERROR_FILE_... or CNCPROBE_ERROR_READ_ERROR code and *extraction NULL. */
CNCPROBE_C_API cncprobe_error cncprobe_extract_file(const char* path, int32_t units,
                                                    int32_t true_position,
                                                    cncprobe_extraction** extraction);

/* The same for the `size` bytes at `bytes`, a results file the host read itself; bytes may be
 * NULL when size is 0. The library keeps no pointer into them. */
CNCPROBE_C_API cncprobe_error cncprobe_extract_memory(const void* bytes, size_t size, int32_t units,
                                                      int32_t true_position,
                                                      cncprobe_extraction** extraction);

/* Reads the `count` results files at `paths` as cncprobe_extract_file reads each, on `threads`
 * threads (1 starts no thread, 0 takes one per core), and puts file i's run in extractions[i]
 * (free each with cncprobe_extraction_free) and its outcome in errors[i]: CNCPROBE_OK, or its
 * CNCPROBE_ERROR_FILE_... code with extractions[i] NULL. Returns CNCPROBE_OK when every file was
 * tried, whatever each one gave; CNCPROBE_ERROR_INVALID_ARGUMENT, reading nothing and setting
 * every extractions[i] to NULL, for NULL arrays with a count above 0, a NULL path, or units or a
 * convention outside their values. */
CNCPROBE_C_API cncprobe_error cncprobe_extract_files(const char* const* paths, size_t count,
                                                     int32_t units, int32_t true_position,
                                                     uint32_t threads,
                                                     cncprobe_extraction** extractions,
                                                     cncprobe_error* errors);

/* Frees the run and sets *extraction to NULL. NULL and a pointer to NULL are ignored. */
CNCPROBE_C_API void cncprobe_extraction_free(cncprobe_extraction** extraction);

/* The extraction status (CNCPROBE_STATUS_...). */
CNCPROBE_C_API cncprobe_error cncprobe_extraction_status(const cncprobe_extraction* extraction,
                                                         int32_t* status);

/* The name the RESULTSFILE record gave the run; "" when there was none. Caller's buffer. */
CNCPROBE_C_API cncprobe_error cncprobe_extraction_results_file(
    const cncprobe_extraction* extraction, char* buffer, size_t capacity, size_t* needed);

/* The verdict of the whole run. A part passes when no check is out of tolerance and no point is
 * outside its limits; not-toleranced checks and unmeasured points do not fail it. */
typedef struct cncprobe_summary {
  /* How many checks are in tolerance, out of it, and not toleranced. */
  uint64_t checks_in, checks_out, checks_not_toleranced;
  /* How many points are within their limits, outside them, and unmeasured; points measured
   * without a probing direction (not toleranced) are the run's point count less these three. */
  uint64_t points_within, points_outside, points_unmeasured;
  /* The check that used the largest share of its tolerance: its feature index and check index;
   * both -1 when nothing is toleranced. */
  int64_t worst_check_feature, worst_check;
  /* The point that used the largest share of its limits, as an index into the run's points; -1
   * when no point could be judged. */
  int64_t worst_point;
  int32_t passed;        /* 1 or 0 */
  int32_t true_position; /* the convention the run was judged by */
} cncprobe_summary;

/* The verdict of the whole run, with its counts and worst check and point. */
CNCPROBE_C_API cncprobe_error cncprobe_extraction_summary(const cncprobe_extraction* extraction,
                                                          cncprobe_summary* summary);

/* Probe paths: the inspection points of one toolpath instance, in probing order. The run's points
 * are numbered from 0 across all paths, path after path. */

typedef struct cncprobe_path {
  /* The smallest, largest and worst (largest magnitude, signed) deviation of its points; NaN
   * when no point has one. */
  double smallest_deviation, largest_deviation, worst_deviation;
  uint64_t result_index; /* its place among all results (paths and features) in file order */
  uint64_t first_point;  /* the index of its first point among the run's points */
  /* How many points it holds. */
  uint64_t point_count;
  /* How many of its points are measured, within their limits, outside them, unmeasured. */
  uint64_t measured, within, outside, unmeasured;
  /* The toolpath it belongs to. */
  uint32_t toolpath_id;
  uint32_t pattern_instance;    /* valid when has_pattern_instance is 1 */
  int32_t has_pattern_instance; /* 1 or 0 */
  /* Out when a point is outside its limits, else in when a point is within them, else unmeasured
   * when no point was measured, else not toleranced. */
  int32_t verdict;
} cncprobe_path;

/* An inspection point and its verdict. The deviation d is (measured - nominal) . direction; the
 * point is within its limits when lower_limit <= d <= upper_limit (O + L and O + U). */
typedef struct cncprobe_point {
  /* The nominal point, in CAD coordinates and millimetres. */
  double nominal[3];
  double direction[3]; /* unit probing direction */
  double measured[3];  /* NaN while unmeasured */
  double o, u, l;      /* offset, upper and lower limit of the nominal-point record */
  double r;            /* R of the measured-point record; NaN while unmeasured */
  double deviation;    /* NaN when unmeasured or without a direction */
  /* The deviations at which the verdict turns: O + L and O + U. */
  double lower_limit, upper_limit;
  /* Where d - O lies in the zone [L, U]: 0 at its middle, 1 at either limit (exactly 1 for a
   * point judged in at it), above 1 when out; +infinity off a zone of no width; NaN without
   * deviation. */
  double limit_used;
  uint32_t path_index; /* the probe path it belongs to */
  /* CNCPROBE_VERDICT_...: in, out, unmeasured, or not toleranced without a direction. */
  int32_t verdict;
} cncprobe_point;

/* The number of probe paths of the run. */
CNCPROBE_C_API cncprobe_error cncprobe_extraction_path_count(const cncprobe_extraction* extraction,
                                                             size_t* count);
/* Probe path `path_index` (from 0); CNCPROBE_ERROR_INDEX_OUT_OF_RANGE past the count. */
CNCPROBE_C_API cncprobe_error cncprobe_extraction_path(const cncprobe_extraction* extraction,
                                                       size_t path_index, cncprobe_path* path);

/* The number of points of every path together. */
CNCPROBE_C_API cncprobe_error cncprobe_extraction_point_count(const cncprobe_extraction* extraction,
                                                              size_t* count);

/* Copies the `count` points from index `first` into points[0 .. count-1]: a whole run in one
 * call, or a path (its first_point and point_count). count 0 copies nothing (points may then be
 * NULL). CNCPROBE_ERROR_INDEX_OUT_OF_RANGE, copying nothing, when first + count passes the run's
 * point count. */
CNCPROBE_C_API cncprobe_error cncprobe_extraction_points(const cncprobe_extraction* extraction,
                                                         size_t first, size_t count,
                                                         cncprobe_point* points);

/* The label of a point ("Path 2 (1): Inspection Point 3"). Caller's buffer. */
CNCPROBE_C_API cncprobe_error cncprobe_extraction_point_label(const cncprobe_extraction* extraction,
                                                              size_t point_index, char* buffer,
                                                              size_t capacity, size_t* needed);

/* Features: what a probing macro's report measured, with its checks. */

enum {
  CNCPROBE_IDENTITY_NONE = 0,
  CNCPROBE_IDENTITY_COMPONENT_FEATURE = 1, /* component number and feature number */
  CNCPROBE_IDENTITY_FEATURE_NAME = 2       /* feature number and a name */
};

/* A measured feature: kind, identity, position, and the verdict of its checks. */
typedef struct cncprobe_feature {
  /* Where the feature is: a circle's or rectangle's centre, a corner's point, a point of a
   * surface or of a wall/channel middle, an angle's reference point (nominal and actual alike). */
  double nominal_position[3];
  /* Where the feature was measured (see nominal_position). */
  double actual_position[3];
  uint64_t result_index; /* its place among all results (paths and features) in file order */
  /* The toolpath it belongs to. */
  uint32_t toolpath_id;
  /* Its pattern instance; valid when has_pattern_instance is 1. */
  uint32_t pattern_instance;
  /* 1 or 0. */
  int32_t has_pattern_instance;
  int32_t kind;              /* CNCPROBE_KIND_..., never a probe path */
  int32_t identity;          /* CNCPROBE_IDENTITY_... */
  uint32_t component_number; /* 0 unless the identity has one */
  uint32_t feature_number;   /* 0 without identity */
  int32_t axis;              /* a surface's or wall's axis: 0 x, 1 y, 2 z; -1 for other kinds */
  /* How many checks it has (cncprobe_extraction_feature_check). */
  uint32_t check_count;
  /* The worst of its checks: out, else in, else not toleranced. */
  int32_t verdict;
} cncprobe_feature;

/* One toleranced quantity of a feature. */
typedef struct cncprobe_check {
  double nominal, actual; /* NaN for a centre or corner offset, which has only a deviation */
  double deviation;       /* actual - nominal, or the radial offset (>= 0) */
  double tolerance;       /* as printed; NaN when the report printed none */
  /* The share of the tolerance used, exactly 1 for a value judged in at the limit, above 1 when
   * out (+infinity past a zero tolerance); NaN when not toleranced. */
  double tolerance_used;
  /* The deviations at which the verdict turns; NaN on a side that has no limit. */
  double lower_limit, upper_limit;
  int32_t quantity;      /* CNCPROBE_QUANTITY_... */
  int32_t true_position; /* 1 for a true-position tolerance (TOL TP) */
  /* CNCPROBE_VERDICT_...: in, out or not toleranced. */
  int32_t verdict;
  int32_t reserved; /* 0 */
} cncprobe_check;

/* The number of features of the run. */
CNCPROBE_C_API cncprobe_error
cncprobe_extraction_feature_count(const cncprobe_extraction* extraction, size_t* count);
/* Feature `feature_index` (from 0); CNCPROBE_ERROR_INDEX_OUT_OF_RANGE past the count. */
CNCPROBE_C_API cncprobe_error cncprobe_extraction_feature(const cncprobe_extraction* extraction,
                                                          size_t feature_index,
                                                          cncprobe_feature* feature);
/* The feature's name for CNCPROBE_IDENTITY_FEATURE_NAME, else "". Caller's buffer. */
CNCPROBE_C_API cncprobe_error
cncprobe_extraction_feature_name(const cncprobe_extraction* extraction, size_t feature_index,
                                 char* buffer, size_t capacity, size_t* needed);
/* Check `check_index` (below the feature's check_count) of a feature, in a fixed order per kind:
 * circle: diameter, centre offset; rectangle: length, width, centre offset; corner: corner
 * offset; surface: position; angle: angle; wall/channel: width, middle. */
CNCPROBE_C_API cncprobe_error cncprobe_extraction_check(const cncprobe_extraction* extraction,
                                                        size_t feature_index, size_t check_index,
                                                        cncprobe_check* check);

/* ---------------------------------------------------------------------------------------------
 * QIF 3.0: the run as a results document for a plant's quality system. */

/* The drafting standard the document's tolerances are read under. */
enum { CNCPROBE_DRAFTING_ISO_1101 = 0, CNCPROBE_DRAFTING_ASME_Y14_5 = 1 };
/* Which inspection points become a feature and characteristic of their own (every probe path is
 * written as a point set whatever the choice). */
enum { CNCPROBE_QIF_POINTS_ALL = 0, CNCPROBE_QIF_POINTS_OUTSIDE = 1, CNCPROBE_QIF_POINTS_NONE = 2 };

/* How cncprobe_write_qif writes a document: the drafting standard, the points, the time. */
typedef struct cncprobe_qif_options {
  int32_t drafting_standard; /* CNCPROBE_DRAFTING_... */
  int32_t points;            /* CNCPROBE_QIF_POINTS_... */
  /* The creation time written, an XML date and time ("2026-11-23T10:15:00Z"); NULL or "" for
   * now. The same run and time give the same bytes. */
  const char* time;
} cncprobe_qif_options;

/* Writes the run as a QIF 3.0 results document into the file at `path` (UTF-8), created or
 * replaced; `options` NULL for ISO 1101, every point and the time now. True positions are judged
 * by the run's convention. The header references and the document's identity are read from the
 * results file again (a run read from memory keeps them from its bytes). CNCPROBE_OK when
 * written; CNCPROBE_ERROR_INVALID_ARGUMENT for a NULL run or path, an option outside its values or
 * a time that is not an XML date and time (nothing written); CNCPROBE_ERROR_WRITE_FAILED when the
 * file cannot be written whole. */
CNCPROBE_C_API cncprobe_error cncprobe_write_qif(const cncprobe_extraction* extraction,
                                                 const char* path,
                                                 const cncprobe_qif_options* options);

/* ---------------------------------------------------------------------------------------------
 * Header references: the files and versions a results file refers to, read from its reference
 * lines without extracting it. */

/* The reference lines of one results file's header: made by cncprobe_references_read. */
typedef struct cncprobe_references cncprobe_references;

/* Reads the reference lines of the file at `path` (UTF-8). On CNCPROBE_OK *references holds
 * them (free it with cncprobe_references_free), also when the file holds none; a file that
 * cannot be read gives its CNCPROBE_ERROR_FILE_... or CNCPROBE_ERROR_READ_ERROR code. */
CNCPROBE_C_API cncprobe_error cncprobe_references_read(const char* path,
                                                       cncprobe_references** references);
/* The same for `size` bytes in memory; bytes may be NULL when size is 0. */
CNCPROBE_C_API cncprobe_error cncprobe_references_read_memory(const void* bytes, size_t size,
                                                              cncprobe_references** references);
/* Frees the references and sets *references to NULL; NULL does nothing. */
CNCPROBE_C_API void cncprobe_references_free(cncprobe_references** references);

/* The reader's status as the tool prints it: 1 when the file was read. */
CNCPROBE_C_API cncprobe_error cncprobe_references_status(const cncprobe_references* references,
                                                         int32_t* status);

/* The references the file gives, in this order, those it lacks left out: "results_file_version",
 * "settings_filename", "cad_filename", "cldata_filename", "document_id", "document_version",
 * "model_version". A reference whose keyword stands alone has an empty value. */
CNCPROBE_C_API cncprobe_error cncprobe_references_count(const cncprobe_references* references,
                                                        size_t* count);
/* The name of reference `index` (static, one of the names above). */
CNCPROBE_C_API cncprobe_error cncprobe_references_name(const cncprobe_references* references,
                                                       size_t index, const char** name);
/* The value of reference `index`, as found on its line. Caller's buffer. */
CNCPROBE_C_API cncprobe_error cncprobe_references_value(const cncprobe_references* references,
                                                        size_t index, char* buffer, size_t capacity,
                                                        size_t* needed);

/* The layout version the file declares, as numbers; 0.0.0 (unversioned) when it declares none
 * or a number is too large. */
typedef struct cncprobe_results_file_version {
  /* The three numbers of the version, major.minor.build. */
  uint32_t major, minor, build;
  int32_t unversioned; /* 1 when major is 0 */
} cncprobe_results_file_version;

/* The layout version the header declares, as numbers. */
CNCPROBE_C_API cncprobe_error cncprobe_references_version(const cncprobe_references* references,
                                                          cncprobe_results_file_version* version);

/* ---------------------------------------------------------------------------------------------
 * Inspection settings: an inspection-settings XML file read over the default settings. */

/* What reading the settings file came to. Success and a newer version mean its values were
 * taken; any other code leaves the defaults. */
enum {
  CNCPROBE_SETTINGS_SUCCESS = 0,
  CNCPROBE_SETTINGS_NEWER_VERSION = 1,
  CNCPROBE_SETTINGS_INVALID_PATH = 2,
  CNCPROBE_SETTINGS_INVALID_VERSION = 3,
  CNCPROBE_SETTINGS_INVALID_XML = 4,
  CNCPROBE_SETTINGS_INVALID_SETTINGS = 5
};

/* One inspection-settings file read: made by cncprobe_settings_read. */
typedef struct cncprobe_settings cncprobe_settings;

/* Reads the settings file at `path` (UTF-8), lengths in it taken in `units` unless the file
 * names its own. On CNCPROBE_OK *settings holds the outcome and the values (free it with
 * cncprobe_settings_free), also when the file was refused: see cncprobe_settings_code. A file
 * that cannot be read gives its CNCPROBE_ERROR_FILE_... or CNCPROBE_ERROR_READ_ERROR code. */
CNCPROBE_C_API cncprobe_error cncprobe_settings_read(const char* path, int32_t units,
                                                     cncprobe_settings** settings);
/* Frees the settings and sets *settings to NULL; NULL does nothing. */
CNCPROBE_C_API void cncprobe_settings_free(cncprobe_settings** settings);

/* CNCPROBE_SETTINGS_..., and the message saying what was wrong (UTF-8). */
CNCPROBE_C_API cncprobe_error cncprobe_settings_code(const cncprobe_settings* settings,
                                                     int32_t* code);
/* The code's standard message, and what was wrong where there is more to say. Caller's buffer. */
CNCPROBE_C_API cncprobe_error cncprobe_settings_message(const cncprobe_settings* settings,
                                                        char* buffer, size_t capacity,
                                                        size_t* needed);

/* Every setting value but the label. */
typedef struct cncprobe_settings_values {
  /* The proximity criterion of the projection, in millimetres. */
  double proximity_criteria_mm;
  /* The diameter the 3D view draws a point with, in millimetres. */
  double confetti_diameter_mm;
  double proximity_criteria; /* in the input units */
  double confetti_diameter;  /* in the input units */
  uint32_t version;          /* of the file the values came from; 0 for the defaults */
  int32_t input_units;       /* CNCPROBE_UNITS_... */
  int32_t linear_precision, angular_precision, unitless_precision; /* digits */
  int32_t reserved;                                                /* 0 */
} cncprobe_settings_values;

/* Every setting value but the label, copied into *values. */
CNCPROBE_C_API cncprobe_error cncprobe_settings_values_get(const cncprobe_settings* settings,
                                                           cncprobe_settings_values* values);
/* The label given to surface points. Caller's buffer. */
CNCPROBE_C_API cncprobe_error cncprobe_settings_surface_point_label(
    const cncprobe_settings* settings, char* buffer, size_t capacity, size_t* needed);

/* ---------------------------------------------------------------------------------------------
 * Control charts: the individuals and moving-range chart of one series (one quantity or point
 * over many runs of a program, one deviation per run), its run rules and capability. */

/* Why a series has control limits or not. */
enum {
  CNCPROBE_CONTROL_LIMITS = 0,         /* the baseline gives limits; the rules apply */
  CNCPROBE_CONTROL_TOO_FEW_VALUES = 1, /* fewer than two values in the baseline */
  CNCPROBE_CONTROL_NO_SPREAD = 2       /* every moving range of the baseline is zero */
};

/* All eight run rules: bit r - 1 stands for rule r. */
#define CNCPROBE_ALL_RULES 0xFFu

/* The statistics of one series of values over runs: I-MR control limits and capability. */
typedef struct cncprobe_series_statistics {
  double mean, standard_deviation, min, max; /* of every value; standard deviation (n - 1) */
  /* The baseline's centre line, mean moving range, sigma within (moving range / 1.128), the
   * individuals chart's limits (centre -+ 3 sigma) and the moving-range chart's upper limit
   * (3.267 x mean moving range); NaN without control limits. */
  double centre, moving_range, sigma_within, lcl, ucl, mr_ucl;
  /* Capability from sigma within and the centre, with its approximate 95% interval (Bissell);
   * performance from the standard deviation and the mean. With only an upper limit cp and pp
   * are NaN and cpk, ppk the upper indices. NaN without tolerance, spread or two values. */
  double cp, cpk, cpk_low, cpk_high, pp, ppk;
  uint64_t n;                      /* values present (not NaN) */
  uint64_t baseline_n;             /* values in the baseline */
  uint64_t violation_count;        /* every violation, also those beyond the caller's array */
  int32_t state;                   /* CNCPROBE_CONTROL_... */
  int32_t one_sided;               /* 1 with only one tolerance limit */
  int32_t capability_preliminary;  /* 1 when baseline_n < 25 */
  int32_t performance_preliminary; /* 1 when n < 25 */
} cncprobe_series_statistics;

/* A run rule that fired, at the run that completes its pattern. */
typedef struct cncprobe_violation {
  double value;         /* the deviation, or the moving range on the moving-range chart */
  uint64_t run;         /* index into the values */
  int32_t rule;         /* 1 to 8 */
  int32_t moving_range; /* 1 for rule 1 on the moving-range chart */
} cncprobe_violation;

/* The statistics of `count` values (NaN for a run without one; values may be NULL when count is
 * 0) against tolerance limits (NaN on a side without one): control limits from the first
 * `baseline` values (0: all), the rules of the bit set `rules` (CNCPROBE_ALL_RULES) reported
 * from run `first_judged` on, into *statistics and up to `capacity` violations in run order
 * (violations may be NULL when capacity is 0). More violations than fit: the array is full and
 * CNCPROBE_ERROR_BUFFER_TOO_SMALL, *statistics filled all the same. Bits beyond the eight rules
 * are CNCPROBE_ERROR_INVALID_ARGUMENT. */
CNCPROBE_C_API cncprobe_error cncprobe_series_statistics_compute(
    const double* values, size_t count, double lower_limit, double upper_limit, size_t baseline,
    uint32_t rules, size_t first_judged, cncprobe_series_statistics* statistics,
    cncprobe_violation* violations, size_t capacity);

#endif /* CNCPROBE_CNCPROBE_C_H */
