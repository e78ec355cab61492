/* The C interface seen from a C host: every function, with good and bad arguments, against the
 * values the tool's JSON gives for the same files.
 *
 *   c_interface_test DATA_DIR      (DATA_DIR: the repository's tests/data, any path form)
 *
 * Uses nothing but cncprobe/cncprobe_c.h and the C standard library, so that the same program
 * checks the library wherever a C compiler can load it. */
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "cncprobe/cncprobe_c.h"

/* ---------------------------------------------------------------------------------------------
 * A small harness: a test is a function; each failed check prints its line. */

static int checks_failed;
static const char* data_dir;

#define CHECK(condition) expect((condition) != 0, #condition, __LINE__)
#define CHECK_ERROR(call, expected) check_error((call), (expected), #call, __LINE__)
#define CHECK_NEAR(actual, expected) check_near((actual), (expected), #actual, __LINE__)

static void expect(int ok, const char* what, int line) {
  if (ok) return;
  ++checks_failed;
  printf("  line %d: %s\n", line, what);
}

static void check_error(cncprobe_error actual, cncprobe_error expected, const char* what,
                        int line) {
  if (actual == expected) return;
  ++checks_failed;
  printf("  line %d: %s gave %d (%s), expected %d (%s)\n", line, what, (int)actual,
         cncprobe_error_text(actual), (int)expected, cncprobe_error_text(expected));
}

/* The tool prints the shortest text that reads back as the same double: values agree to the
 * last bit or two after the same arithmetic. */
static void check_near(double actual, double expected, const char* what, int line) {
  if (fabs(actual - expected) <= 1e-12 * (1.0 + fabs(expected))) return;
  ++checks_failed;
  printf("  line %d: %s is %.17g, expected %.17g\n", line, what, actual, expected);
}

static const char* path_of(const char* relative) {
  static char buffer[4096];
  snprintf(buffer, sizeof buffer, "%s/%s", data_dir, relative);
  return buffer;
}

static int text_is(cncprobe_error error, const char* buffer, const char* expected) {
  return error == CNCPROBE_OK && strcmp(buffer, expected) == 0;
}

/* A run written for these tests: a point within its limits, then a path with a point outside
 * them and one never measured, and a named circle whose centre is 0.06 from the nominal (TOL TP
 * 0.1: out as a zone of that diameter, in as a radius). */
static const char kMemoryRun[] =
    "START\n"
    "RESULTSFILE MEMORY RUN\n"
    "TOOLPATHID 6\n"
    "G800 N1 X20 Y0 Z0 I0 J0 K1 O0 U0.1 L-0.1\n"
    "G801 N2 X20 Y0 Z0.05 R2.5\n"
    "TOOLPATHID 5\n"
    "G800 N3 X0 Y0 Z0 I0 J0 K1 O0 U0.1 L-0.1\n"
    "G801 N4 X0 Y0 Z0.2 R2.5\n"
    "G800 N5 X10 Y0 Z0 I0 J0 K1 O0 U0.1 L-0.1\n"
    "TOOLPATHID 7\n"
    "FEATURE NO 3 FEATURE NAME BOSS\n"
    "SIZE D 10.000 ACTUAL 10.001 TOL 0.050 DEV 0.001\n"
    "POSN X 30.000 ACTUAL 30.036 TOL TP 0.100 DEV 0.036\n"
    "POSN Y 0.000 ACTUAL 0.048 TOL TP 0.100 DEV 0.048\n"
    "END\n";

static cncprobe_extraction* extract_memory(int32_t convention) {
  cncprobe_extraction* run = NULL;
  CHECK_ERROR(cncprobe_extract_memory(kMemoryRun, sizeof kMemoryRun - 1, CNCPROBE_UNITS_MM,
                                      convention, &run),
              CNCPROBE_OK);
  return run;
}

/* ---------------------------------------------------------------------------------------------
 * Static words. */

static void test_static_words(void) {
  struct {
    const char* actual;
    const char* expected;
  } rows[] = {
      {cncprobe_error_text(CNCPROBE_ERROR_FILE_MISSING), "no such file"},
      {cncprobe_error_text(CNCPROBE_ERROR_FILE_IS_DIRECTORY), "is a directory"},
      {cncprobe_error_text(-1), "unknown error"},
      {cncprobe_status_name(CNCPROBE_STATUS_RESULT_CONFLICT), "result_conflict"},
      {cncprobe_status_name(8), "unknown"},
      {cncprobe_verdict_name(CNCPROBE_VERDICT_UNMEASURED), "unmeasured"},
      {cncprobe_verdict_name(4), "unknown"},
      {cncprobe_kind_name(CNCPROBE_KIND_PERPENDICULAR_DISTANCE), "perpendicular_distance"},
      {cncprobe_kind_name(-1), "unknown"},
      {cncprobe_quantity_name(CNCPROBE_QUANTITY_CENTRE_OFFSET), "centre_offset"},
      {cncprobe_quantity_name(8), "unknown"},
      {cncprobe_true_position_name(CNCPROBE_TRUE_POSITION_RADIAL), "radial"},
      {cncprobe_true_position_name(2), "unknown"},
  };
  size_t i;
  cncprobe_error e;
  for (i = 0; i < sizeof rows / sizeof rows[0]; ++i) {
    if (rows[i].actual == NULL || strcmp(rows[i].actual, rows[i].expected) != 0) {
      ++checks_failed;
      printf("  row %u: \"%s\", expected \"%s\"\n", (unsigned)i,
             rows[i].actual ? rows[i].actual : "(null)", rows[i].expected);
    }
  }
  /* Every code has its own words: a host shows them to say what went wrong. */
  for (e = CNCPROBE_OK; e <= CNCPROBE_ERROR_INTERNAL; ++e) {
    CHECK(strcmp(cncprobe_error_text(e), "unknown error") != 0);
    if (e > CNCPROBE_OK) CHECK(strcmp(cncprobe_error_text(e), cncprobe_error_text(e - 1)) != 0);
  }
  CHECK(strlen(cncprobe_status_meaning(CNCPROBE_STATUS_MISSING_END)) > 10);
  CHECK(cncprobe_version() != NULL && strchr(cncprobe_version(), '.') != NULL);
}

/* ---------------------------------------------------------------------------------------------
 * Extraction of a sample file, compared with the tool's JSON of it. */

static void test_extraction_matches_the_tool(void) {
  cncprobe_extraction* run = NULL;
  int32_t status = -1;
  size_t count = 0, needed = 0;
  char text[64];
  cncprobe_path path;
  cncprobe_point points[3];
  cncprobe_feature feature;
  cncprobe_check check;
  cncprobe_summary summary;

  CHECK_ERROR(cncprobe_extract_file(path_of("generated/cosmetic_freedoms.res"), CNCPROBE_UNITS_MM,
                                    CNCPROBE_TRUE_POSITION_DIAMETRAL, &run),
              CNCPROBE_OK);
  if (run == NULL) return;
  CHECK_ERROR(cncprobe_extraction_status(run, &status), CNCPROBE_OK);
  CHECK(status == CNCPROBE_STATUS_SUCCESS);
  CHECK(text_is(cncprobe_extraction_results_file(run, text, sizeof text, &needed), text,
                "C:\\PROBE\\COSMETIC.TXT"));
  CHECK(needed == strlen("C:\\PROBE\\COSMETIC.TXT") + 1);

  CHECK_ERROR(cncprobe_extraction_path_count(run, &count), CNCPROBE_OK);
  CHECK(count == 1);
  CHECK_ERROR(cncprobe_extraction_path(run, 0, &path), CNCPROBE_OK);
  CHECK(path.toolpath_id == 21 && path.has_pattern_instance == 1 && path.pattern_instance == 2);
  CHECK(path.result_index == 0 && path.first_point == 0 && path.point_count == 3);
  CHECK(path.within == 3 && path.outside == 0 && path.verdict == CNCPROBE_VERDICT_IN);

  CHECK_ERROR(cncprobe_extraction_point_count(run, &count), CNCPROBE_OK);
  CHECK(count == 3);
  CHECK_ERROR(cncprobe_extraction_points(run, 0, 3, points), CNCPROBE_OK);
  CHECK_NEAR(points[0].nominal[0], 91.75);
  CHECK_NEAR(points[0].nominal[1], -22.5);
  CHECK_NEAR(points[0].direction[1], 1.0);
  CHECK_NEAR(points[0].measured[1], -22.490000000000002);
  CHECK_NEAR(points[0].r, 2.5);
  CHECK_NEAR(points[0].deviation, 0.00999999999999801);
  CHECK_NEAR(points[0].limit_used, 0.0999999999999801);
  CHECK_NEAR(points[0].lower_limit, -0.1);
  CHECK_NEAR(points[0].upper_limit, 0.1);
  CHECK(points[0].verdict == CNCPROBE_VERDICT_IN && points[2].path_index == 0);
  CHECK(text_is(cncprobe_extraction_point_label(run, 0, text, sizeof text, NULL), text,
                "Path 21 (2): Inspection Point 1"));

  CHECK_ERROR(cncprobe_extraction_feature_count(run, &count), CNCPROBE_OK);
  CHECK(count == 15);
  CHECK_ERROR(cncprobe_extraction_feature(run, 0, &feature), CNCPROBE_OK);
  CHECK(feature.kind == CNCPROBE_KIND_CIRCLE && feature.toolpath_id == 23);
  CHECK(feature.result_index == 1 && feature.has_pattern_instance == 0);
  CHECK(feature.identity == CNCPROBE_IDENTITY_FEATURE_NAME && feature.feature_number == 9);
  CHECK(feature.component_number == 0 && feature.check_count == 2 && feature.axis == -1);
  CHECK(feature.verdict == CNCPROBE_VERDICT_IN);
  CHECK_NEAR(feature.nominal_position[0], 1.5);
  CHECK_NEAR(feature.actual_position[1], -2.499);
  CHECK(text_is(cncprobe_extraction_feature_name(run, 0, text, sizeof text, NULL), text,
                "BORE   WITH   BLANKS"));
  CHECK_ERROR(cncprobe_extraction_check(run, 0, 0, &check), CNCPROBE_OK);
  CHECK(check.quantity == CNCPROBE_QUANTITY_DIAMETER && check.true_position == 0);
  CHECK_NEAR(check.nominal, 12.0);
  CHECK_NEAR(check.actual, 12.01);
  CHECK_NEAR(check.deviation, 0.009999999999999787);
  CHECK_NEAR(check.tolerance_used, 0.19999999999999574);
  CHECK_NEAR(check.lower_limit, -0.05);
  CHECK_ERROR(cncprobe_extraction_check(run, 0, 1, &check), CNCPROBE_OK);
  CHECK(check.quantity == CNCPROBE_QUANTITY_CENTRE_OFFSET && check.true_position == 1);
  CHECK(isnan(check.nominal) && isnan(check.tolerance) && isnan(check.tolerance_used));
  CHECK(check.verdict == CNCPROBE_VERDICT_NOT_TOLERANCED);
  /* A component-numbered wall: no name, its axis. */
  CHECK_ERROR(cncprobe_extraction_feature(run, 1, &feature), CNCPROBE_OK);
  CHECK(feature.kind == CNCPROBE_KIND_PERPENDICULAR_DISTANCE && feature.component_number == 3);
  CHECK(feature.identity == CNCPROBE_IDENTITY_COMPONENT_FEATURE && feature.feature_number == 10);
  CHECK(feature.axis == 0 || feature.axis == 1);
  CHECK(text_is(cncprobe_extraction_feature_name(run, 1, text, sizeof text, &needed), text, ""));
  CHECK(needed == 1);

  CHECK_ERROR(cncprobe_extraction_summary(run, &summary), CNCPROBE_OK);
  CHECK(summary.checks_in == 12 && summary.checks_out == 1 && summary.checks_not_toleranced == 10);
  CHECK(summary.points_within == 3 && summary.points_outside == 0);
  CHECK(summary.points_unmeasured == 0 && summary.passed == 0);
  CHECK(summary.true_position == CNCPROBE_TRUE_POSITION_DIAMETRAL);
  /* The JSON's worst check is result 12, the angle SLOPE: feature 11, its only check. */
  CHECK(summary.worst_check_feature == 11 && summary.worst_check == 0 && summary.worst_point == 0);
  CHECK_ERROR(cncprobe_extraction_check(run, 11, 0, &check), CNCPROBE_OK);
  CHECK_NEAR(check.deviation, -0.10000000000000142);
  CHECK(check.verdict == CNCPROBE_VERDICT_OUT);

  cncprobe_extraction_free(&run);
  CHECK(run == NULL);
}

/* The same file printed in inches: lengths come out in millimetres. */
static void test_inch_file(void) {
  cncprobe_extraction* run = NULL;
  cncprobe_point point;
  cncprobe_check check;
  CHECK_ERROR(cncprobe_extract_file(path_of("generated/cosmetic_freedoms.res"), CNCPROBE_UNITS_INCH,
                                    CNCPROBE_TRUE_POSITION_DIAMETRAL, &run),
              CNCPROBE_OK);
  CHECK_ERROR(cncprobe_extraction_points(run, 0, 1, &point), CNCPROBE_OK);
  CHECK_NEAR(point.nominal[0], 2330.45);
  CHECK_NEAR(point.r, 63.5);
  CHECK_NEAR(point.deviation, 0.2540000000000191);
  CHECK_ERROR(cncprobe_extraction_check(run, 0, 0, &check), CNCPROBE_OK);
  CHECK_NEAR(check.nominal, 304.79999999999995);
  cncprobe_extraction_free(&run);
}

/* A run from memory: paths, verdicts and ranges of points across paths. */
static void test_memory_run_and_point_ranges(void) {
  cncprobe_extraction* run = extract_memory(CNCPROBE_TRUE_POSITION_DIAMETRAL);
  cncprobe_path path;
  cncprobe_point points[2];
  cncprobe_summary summary;
  char label[64];
  size_t count = 0;
  if (run == NULL) return;
  CHECK_ERROR(cncprobe_extraction_path_count(run, &count), CNCPROBE_OK);
  CHECK(count == 2);
  CHECK_ERROR(cncprobe_extraction_path(run, 0, &path), CNCPROBE_OK);
  CHECK(path.verdict == CNCPROBE_VERDICT_IN && path.point_count == 1 && path.first_point == 0);
  CHECK_ERROR(cncprobe_extraction_path(run, 1, &path), CNCPROBE_OK);
  CHECK(path.verdict == CNCPROBE_VERDICT_OUT && path.outside == 1 && path.unmeasured == 1);
  CHECK(path.first_point == 1 && path.point_count == 2 && path.result_index == 1);
  CHECK(path.toolpath_id == 5 && path.has_pattern_instance == 0);
  CHECK_NEAR(path.worst_deviation, 0.2);

  /* A range that starts in one path and ends in the next. */
  CHECK_ERROR(cncprobe_extraction_points(run, 0, 2, points), CNCPROBE_OK);
  CHECK(points[0].verdict == CNCPROBE_VERDICT_IN && points[0].path_index == 0);
  CHECK_NEAR(points[0].nominal[0], 20.0);
  CHECK_NEAR(points[0].limit_used, 0.5);
  CHECK(points[1].verdict == CNCPROBE_VERDICT_OUT && points[1].path_index == 1);
  CHECK_NEAR(points[1].nominal[0], 0.0);
  CHECK_ERROR(cncprobe_extraction_points(run, 2, 1, points), CNCPROBE_OK);
  CHECK(points[0].verdict == CNCPROBE_VERDICT_UNMEASURED && points[0].path_index == 1);
  CHECK(isnan(points[0].measured[0]) && isnan(points[0].r) && isnan(points[0].deviation));
  CHECK_NEAR(points[0].nominal[0], 10.0);
  CHECK(text_is(cncprobe_extraction_point_label(run, 0, label, sizeof label, NULL), label,
                "Path 6: Inspection Point 1"));
  CHECK(text_is(cncprobe_extraction_point_label(run, 2, label, sizeof label, NULL), label,
                "Path 5: Inspection Point 2"));

  /* The worst point is counted across paths: the first point of the second path. */
  CHECK_ERROR(cncprobe_extraction_summary(run, &summary), CNCPROBE_OK);
  CHECK(summary.points_outside == 1 && summary.points_unmeasured == 1 && summary.worst_point == 1);
  CHECK(summary.worst_check_feature == 0 && summary.worst_check == 1 && summary.passed == 0);
  cncprobe_extraction_free(&run);
}

/* The true-position convention chosen at extraction reaches the checks and the summary. */
static void test_true_position_convention(void) {
  struct {
    int32_t convention;
    int32_t verdict;
    double tolerance_used, upper_limit;
  } rows[] = {
      {CNCPROBE_TRUE_POSITION_DIAMETRAL, CNCPROBE_VERDICT_OUT, 1.2, 0.05},
      {CNCPROBE_TRUE_POSITION_RADIAL, CNCPROBE_VERDICT_IN, 0.6, 0.1},
  };
  size_t i;
  for (i = 0; i < sizeof rows / sizeof rows[0]; ++i) {
    cncprobe_extraction* run = extract_memory(rows[i].convention);
    cncprobe_check check;
    cncprobe_summary summary;
    if (run == NULL) continue;
    CHECK_ERROR(cncprobe_extraction_check(run, 0, 1, &check), CNCPROBE_OK);
    CHECK(check.quantity == CNCPROBE_QUANTITY_CENTRE_OFFSET);
    CHECK(check.verdict == rows[i].verdict);
    CHECK(fabs(check.tolerance_used - rows[i].tolerance_used) < 1e-9);
    CHECK(fabs(check.upper_limit - rows[i].upper_limit) < 1e-12 && isnan(check.lower_limit));
    CHECK_ERROR(cncprobe_extraction_summary(run, &summary), CNCPROBE_OK);
    CHECK(summary.true_position == rows[i].convention);
    CHECK(summary.checks_out == (rows[i].verdict == CNCPROBE_VERDICT_OUT ? 1u : 0u));
    cncprobe_extraction_free(&run);
  }
}

/* ---------------------------------------------------------------------------------------------
 * Points a host must not misread: one out short of a lower limit above its offset, one in an
 * uneven zone, one without a direction, one never measured, one exactly at its limit; and a
 * centre offset under a diametral zone. */

static void test_shares_at_and_beyond_the_limits(void) {
  cncprobe_extraction* run = NULL;
  cncprobe_point points[5];
  cncprobe_check check;
  cncprobe_summary summary;
  size_t count = 0;
  CHECK_ERROR(cncprobe_extract_file(path_of("extraction/unmeasured_and_unjudged_points.res"),
                                    CNCPROBE_UNITS_MM, CNCPROBE_TRUE_POSITION_DIAMETRAL, &run),
              CNCPROBE_OK);
  if (run == NULL) return;
  CHECK_ERROR(cncprobe_extraction_point_count(run, &count), CNCPROBE_OK);
  CHECK(count == 5);
  CHECK_ERROR(cncprobe_extraction_points(run, 0, 5, points), CNCPROBE_OK);
  CHECK(points[0].verdict == CNCPROBE_VERDICT_OUT);
  CHECK_NEAR(points[0].limit_used, 2.2);
  CHECK(points[1].verdict == CNCPROBE_VERDICT_IN);
  CHECK_NEAR(points[1].limit_used, 0.9);
  CHECK(points[2].verdict == CNCPROBE_VERDICT_NOT_TOLERANCED);
  CHECK(isnan(points[2].deviation) && isnan(points[2].limit_used) && !isnan(points[2].r));
  CHECK(points[3].verdict == CNCPROBE_VERDICT_UNMEASURED && isnan(points[3].limit_used));
  CHECK(points[4].verdict == CNCPROBE_VERDICT_IN && points[4].limit_used == 1.0);

  /* The diameter at its limit uses exactly all of its tolerance; the centre, 0.03 off, twice
   * that against a zone of 0.05. */
  CHECK_ERROR(cncprobe_extraction_check(run, 0, 0, &check), CNCPROBE_OK);
  CHECK(check.verdict == CNCPROBE_VERDICT_IN && check.tolerance_used == 1.0);
  CHECK_ERROR(cncprobe_extraction_check(run, 0, 1, &check), CNCPROBE_OK);
  CHECK(check.verdict == CNCPROBE_VERDICT_OUT);
  CHECK_NEAR(check.tolerance_used, 1.1999999999999744);

  /* The worst point is the one out; the point without a direction is in no count. */
  CHECK_ERROR(cncprobe_extraction_summary(run, &summary), CNCPROBE_OK);
  CHECK(summary.worst_point == 0 && summary.passed == 0);
  CHECK(summary.points_within == 2 && summary.points_outside == 1 &&
        summary.points_unmeasured == 1);
  CHECK(count - summary.points_within - summary.points_outside - summary.points_unmeasured == 1);
  cncprobe_extraction_free(&run);
}

/* ---------------------------------------------------------------------------------------------
 * Inputs that cannot be read, and inputs that read as nothing. */

/* A device every system has. */
#if defined(_WIN32)
static const char kDevice[] = "NUL";
#else
static const char kDevice[] = "/dev/null";
#endif

static void test_unreadable_and_empty_inputs(void) {
  const char* empty_file = "c_interface_test_empty.res";
  cncprobe_extraction* run = (cncprobe_extraction*)&run; /* not NULL: must be cleared */
  cncprobe_references* refs = (cncprobe_references*)&refs;
  cncprobe_settings* settings = (cncprobe_settings*)&settings;
  int32_t status = -1;
  size_t count = 1;
  FILE* file;

  CHECK_ERROR(cncprobe_extract_file(path_of("no_such_file.res"), CNCPROBE_UNITS_MM, 0, &run),
              CNCPROBE_ERROR_FILE_MISSING);
  CHECK(run == NULL);
  CHECK_ERROR(cncprobe_extract_file(data_dir, CNCPROBE_UNITS_MM, 0, &run),
              CNCPROBE_ERROR_FILE_IS_DIRECTORY);
  CHECK(run == NULL);
  CHECK_ERROR(cncprobe_references_read(path_of("no_such_file.res"), &refs),
              CNCPROBE_ERROR_FILE_MISSING);
  CHECK(refs == NULL);
  CHECK_ERROR(cncprobe_references_read(data_dir, &refs), CNCPROBE_ERROR_FILE_IS_DIRECTORY);
  CHECK_ERROR(cncprobe_settings_read(path_of("no_such_file.xml"), 0, &settings),
              CNCPROBE_ERROR_FILE_MISSING);
  CHECK(settings == NULL);
  CHECK_ERROR(cncprobe_settings_read(data_dir, 0, &settings), CNCPROBE_ERROR_FILE_IS_DIRECTORY);

  /* A device is never read (it could block or never end), by every reader alike. */
  CHECK_ERROR(cncprobe_extract_file(kDevice, CNCPROBE_UNITS_MM, 0, &run),
              CNCPROBE_ERROR_FILE_NOT_REGULAR);
  CHECK(run == NULL);
  CHECK_ERROR(cncprobe_references_read(kDevice, &refs), CNCPROBE_ERROR_FILE_NOT_REGULAR);
  CHECK(refs == NULL);
  CHECK_ERROR(cncprobe_settings_read(kDevice, 0, &settings), CNCPROBE_ERROR_FILE_NOT_REGULAR);
  CHECK(settings == NULL);
  CHECK(strcmp(cncprobe_error_text(CNCPROBE_ERROR_FILE_NOT_REGULAR), "not a regular file") == 0);

  /* An empty file is read: a run without results, a header without references. */
  file = fopen(empty_file, "wb");
  CHECK(file != NULL);
  if (file != NULL) fclose(file);
  CHECK_ERROR(cncprobe_extract_file(empty_file, CNCPROBE_UNITS_MM, 0, &run), CNCPROBE_OK);
  CHECK_ERROR(cncprobe_extraction_status(run, &status), CNCPROBE_OK);
  CHECK(status == CNCPROBE_STATUS_NO_RESULTS);
  CHECK_ERROR(cncprobe_extraction_point_count(run, &count), CNCPROBE_OK);
  CHECK(count == 0);
  CHECK_ERROR(cncprobe_extraction_points(run, 0, 0, NULL), CNCPROBE_OK);
  CHECK_ERROR(cncprobe_extraction_points(run, 0, 1, NULL), CNCPROBE_ERROR_INVALID_ARGUMENT);
  cncprobe_extraction_free(&run);
  CHECK_ERROR(cncprobe_references_read(empty_file, &refs), CNCPROBE_OK);
  CHECK_ERROR(cncprobe_references_count(refs, &count), CNCPROBE_OK);
  CHECK(count == 0);
  cncprobe_references_free(&refs);
  remove(empty_file);

  /* Empty memory, with and without a pointer. */
  CHECK_ERROR(cncprobe_extract_memory(NULL, 0, CNCPROBE_UNITS_MM, 0, &run), CNCPROBE_OK);
  CHECK_ERROR(cncprobe_extraction_status(run, &status), CNCPROBE_OK);
  CHECK(status == CNCPROBE_STATUS_NO_RESULTS);
  cncprobe_extraction_free(&run);
  CHECK_ERROR(cncprobe_references_read_memory("", 0, &refs), CNCPROBE_OK);
  cncprobe_references_free(&refs);
}

/* ---------------------------------------------------------------------------------------------
 * Bad arguments: every function refuses them with a code, and touches nothing. */

static void test_bad_arguments(void) {
  cncprobe_extraction* run = extract_memory(CNCPROBE_TRUE_POSITION_DIAMETRAL);
  cncprobe_extraction* out = NULL;
  cncprobe_references* refs = NULL;
  cncprobe_settings* settings = NULL;
  cncprobe_point point;
  cncprobe_path path;
  cncprobe_feature feature;
  cncprobe_check check;
  cncprobe_summary summary;
  cncprobe_results_file_version version;
  cncprobe_settings_values values;
  const char* name = NULL;
  char text[8];
  int32_t value;
  size_t count;
  struct {
    cncprobe_error actual, expected;
    int line;
  } rows[] = {
      /* NULL paths and bytes, unknown units and conventions, NULL out-pointers. */
      {cncprobe_extract_file(NULL, 0, 0, &out), CNCPROBE_ERROR_INVALID_ARGUMENT, __LINE__},
      {cncprobe_extract_file("x", 2, 0, &out), CNCPROBE_ERROR_INVALID_ARGUMENT, __LINE__},
      {cncprobe_extract_file("x", 0, -1, &out), CNCPROBE_ERROR_INVALID_ARGUMENT, __LINE__},
      {cncprobe_extract_file("x", 0, 0, NULL), CNCPROBE_ERROR_INVALID_ARGUMENT, __LINE__},
      {cncprobe_extract_memory(NULL, 1, 0, 0, &out), CNCPROBE_ERROR_INVALID_ARGUMENT, __LINE__},
      {cncprobe_extract_memory("", 0, 0, 0, NULL), CNCPROBE_ERROR_INVALID_ARGUMENT, __LINE__},
      {cncprobe_references_read(NULL, &refs), CNCPROBE_ERROR_INVALID_ARGUMENT, __LINE__},
      {cncprobe_references_read("x", NULL), CNCPROBE_ERROR_INVALID_ARGUMENT, __LINE__},
      {cncprobe_references_read_memory(NULL, 1, &refs), CNCPROBE_ERROR_INVALID_ARGUMENT, __LINE__},
      {cncprobe_settings_read(NULL, 0, &settings), CNCPROBE_ERROR_INVALID_ARGUMENT, __LINE__},
      {cncprobe_settings_read("x.xml", 7, &settings), CNCPROBE_ERROR_INVALID_ARGUMENT, __LINE__},
      {cncprobe_settings_read("x.xml", 0, NULL), CNCPROBE_ERROR_INVALID_ARGUMENT, __LINE__},
      /* NULL handles. */
      {cncprobe_extraction_status(NULL, &value), CNCPROBE_ERROR_INVALID_ARGUMENT, __LINE__},
      {cncprobe_extraction_results_file(NULL, text, sizeof text, NULL),
       CNCPROBE_ERROR_INVALID_ARGUMENT, __LINE__},
      {cncprobe_extraction_summary(NULL, &summary), CNCPROBE_ERROR_INVALID_ARGUMENT, __LINE__},
      {cncprobe_extraction_path_count(NULL, &count), CNCPROBE_ERROR_INVALID_ARGUMENT, __LINE__},
      {cncprobe_extraction_path(NULL, 0, &path), CNCPROBE_ERROR_INVALID_ARGUMENT, __LINE__},
      {cncprobe_extraction_point_count(NULL, &count), CNCPROBE_ERROR_INVALID_ARGUMENT, __LINE__},
      {cncprobe_extraction_points(NULL, 0, 1, &point), CNCPROBE_ERROR_INVALID_ARGUMENT, __LINE__},
      {cncprobe_extraction_point_label(NULL, 0, text, sizeof text, NULL),
       CNCPROBE_ERROR_INVALID_ARGUMENT, __LINE__},
      {cncprobe_extraction_feature_count(NULL, &count), CNCPROBE_ERROR_INVALID_ARGUMENT, __LINE__},
      {cncprobe_extraction_feature(NULL, 0, &feature), CNCPROBE_ERROR_INVALID_ARGUMENT, __LINE__},
      {cncprobe_extraction_feature_name(NULL, 0, text, sizeof text, NULL),
       CNCPROBE_ERROR_INVALID_ARGUMENT, __LINE__},
      {cncprobe_extraction_check(NULL, 0, 0, &check), CNCPROBE_ERROR_INVALID_ARGUMENT, __LINE__},
      {cncprobe_references_status(NULL, &value), CNCPROBE_ERROR_INVALID_ARGUMENT, __LINE__},
      {cncprobe_references_count(NULL, &count), CNCPROBE_ERROR_INVALID_ARGUMENT, __LINE__},
      {cncprobe_references_name(NULL, 0, &name), CNCPROBE_ERROR_INVALID_ARGUMENT, __LINE__},
      {cncprobe_references_value(NULL, 0, text, sizeof text, NULL), CNCPROBE_ERROR_INVALID_ARGUMENT,
       __LINE__},
      {cncprobe_references_version(NULL, &version), CNCPROBE_ERROR_INVALID_ARGUMENT, __LINE__},
      {cncprobe_settings_code(NULL, &value), CNCPROBE_ERROR_INVALID_ARGUMENT, __LINE__},
      {cncprobe_settings_message(NULL, text, sizeof text, NULL), CNCPROBE_ERROR_INVALID_ARGUMENT,
       __LINE__},
      {cncprobe_settings_values_get(NULL, &values), CNCPROBE_ERROR_INVALID_ARGUMENT, __LINE__},
      {cncprobe_settings_surface_point_label(NULL, text, sizeof text, NULL),
       CNCPROBE_ERROR_INVALID_ARGUMENT, __LINE__},
      /* NULL out-pointers and buffers on a good handle. */
      {cncprobe_extraction_status(run, NULL), CNCPROBE_ERROR_INVALID_ARGUMENT, __LINE__},
      {cncprobe_extraction_summary(run, NULL), CNCPROBE_ERROR_INVALID_ARGUMENT, __LINE__},
      {cncprobe_extraction_path(run, 0, NULL), CNCPROBE_ERROR_INVALID_ARGUMENT, __LINE__},
      {cncprobe_extraction_points(run, 0, 1, NULL), CNCPROBE_ERROR_INVALID_ARGUMENT, __LINE__},
      {cncprobe_extraction_feature(run, 0, NULL), CNCPROBE_ERROR_INVALID_ARGUMENT, __LINE__},
      {cncprobe_extraction_check(run, 0, 0, NULL), CNCPROBE_ERROR_INVALID_ARGUMENT, __LINE__},
      {cncprobe_extraction_point_label(run, 0, NULL, 8, NULL), CNCPROBE_ERROR_INVALID_ARGUMENT,
       __LINE__},
      /* Indexes at and past the counts (2 paths, 3 points, 1 feature of 2 checks). */
      {cncprobe_extraction_path(run, 2, &path), CNCPROBE_ERROR_INDEX_OUT_OF_RANGE, __LINE__},
      {cncprobe_extraction_points(run, 3, 1, &point), CNCPROBE_ERROR_INDEX_OUT_OF_RANGE, __LINE__},
      {cncprobe_extraction_points(run, 2, 2, &point), CNCPROBE_ERROR_INDEX_OUT_OF_RANGE, __LINE__},
      {cncprobe_extraction_points(run, 1, (size_t)-1, &point), CNCPROBE_ERROR_INDEX_OUT_OF_RANGE,
       __LINE__},
      {cncprobe_extraction_point_label(run, 3, text, sizeof text, NULL),
       CNCPROBE_ERROR_INDEX_OUT_OF_RANGE, __LINE__},
      {cncprobe_extraction_feature(run, 1, &feature), CNCPROBE_ERROR_INDEX_OUT_OF_RANGE, __LINE__},
      {cncprobe_extraction_feature_name(run, 1, text, sizeof text, NULL),
       CNCPROBE_ERROR_INDEX_OUT_OF_RANGE, __LINE__},
      {cncprobe_extraction_check(run, 0, 2, &check), CNCPROBE_ERROR_INDEX_OUT_OF_RANGE, __LINE__},
      {cncprobe_extraction_check(run, 1, 0, &check), CNCPROBE_ERROR_INDEX_OUT_OF_RANGE, __LINE__},
  };
  size_t i;
  for (i = 0; i < sizeof rows / sizeof rows[0]; ++i) {
    check_error(rows[i].actual, rows[i].expected, "row", rows[i].line);
  }
  CHECK(out == NULL && refs == NULL && settings == NULL);

  /* Freeing: NULL, a pointer to NULL, and the same variable twice. */
  cncprobe_extraction_free(NULL);
  cncprobe_references_free(NULL);
  cncprobe_settings_free(NULL);
  cncprobe_references_free(&refs);
  cncprobe_settings_free(&settings);
  cncprobe_extraction_free(&run);
  CHECK(run == NULL);
  cncprobe_extraction_free(&run);
}

/* ---------------------------------------------------------------------------------------------
 * Text into the caller's buffer. */

static void test_text_buffers(void) {
  cncprobe_extraction* run = extract_memory(CNCPROBE_TRUE_POSITION_DIAMETRAL);
  char text[32];
  size_t needed = 0;
  if (run == NULL) return;
  /* Asking for the size alone. */
  CHECK_ERROR(cncprobe_extraction_results_file(run, NULL, 0, &needed),
              CNCPROBE_ERROR_BUFFER_TOO_SMALL);
  CHECK(needed == sizeof "MEMORY RUN");
  /* Just big enough, and one byte short: cut, terminated, with the full size. */
  CHECK(text_is(cncprobe_extraction_results_file(run, text, sizeof "MEMORY RUN", &needed), text,
                "MEMORY RUN"));
  memset(text, 'x', sizeof text);
  CHECK_ERROR(cncprobe_extraction_results_file(run, text, sizeof "MEMORY RUN" - 1, &needed),
              CNCPROBE_ERROR_BUFFER_TOO_SMALL);
  CHECK(strcmp(text, "MEMORY RU") == 0 && needed == sizeof "MEMORY RUN");
  CHECK(text[sizeof "MEMORY RUN" - 1] == 'x'); /* nothing written past the capacity */
  CHECK_ERROR(cncprobe_extraction_results_file(run, text, 1, NULL),
              CNCPROBE_ERROR_BUFFER_TOO_SMALL);
  CHECK(text[0] == '\0');
  CHECK(text_is(cncprobe_extraction_feature_name(run, 0, text, sizeof text, NULL), text, "BOSS"));
  cncprobe_extraction_free(&run);
}

/* ---------------------------------------------------------------------------------------------
 * Header references and settings, compared with the tool's JSON. */

static void test_references(void) {
  static const struct {
    const char* name;
    const char* value;
  } expected[] = {
      {"results_file_version", "2.1.0"},
      {"settings_filename", "C:\\jobs\\bracket\\inspection settings.xml"},
      {"cad_filename", "C:\\jobs\\bracket\\bracket.model"},
      {"cldata_filename", "C:\\jobs\\bracket\\op20 probe.cl"},
      {"document_id", "BRK-0042 (rev B)"},
      {"document_version", "7"},
      {"model_version", "3.2."},
  };
  cncprobe_references* refs = NULL;
  cncprobe_results_file_version version;
  const char* name = NULL;
  char value[64];
  size_t count = 0, i;
  int32_t status = 0;
  static const char kCadOnly[] = "CADFILENAME PART7.CAD\nSTART\n";

  CHECK_ERROR(cncprobe_references_read(path_of("references/header_all_seven.txt"), &refs),
              CNCPROBE_OK);
  if (refs == NULL) return;
  CHECK_ERROR(cncprobe_references_status(refs, &status), CNCPROBE_OK);
  CHECK(status == 1);
  CHECK_ERROR(cncprobe_references_count(refs, &count), CNCPROBE_OK);
  CHECK(count == 7);
  for (i = 0; i < count && i < 7; ++i) {
    CHECK_ERROR(cncprobe_references_name(refs, i, &name), CNCPROBE_OK);
    CHECK(name != NULL && strcmp(name, expected[i].name) == 0);
    CHECK(text_is(cncprobe_references_value(refs, i, value, sizeof value, NULL), value,
                  expected[i].value));
  }
  CHECK_ERROR(cncprobe_references_name(refs, 7, &name), CNCPROBE_ERROR_INDEX_OUT_OF_RANGE);
  CHECK_ERROR(cncprobe_references_value(refs, 7, value, sizeof value, NULL),
              CNCPROBE_ERROR_INDEX_OUT_OF_RANGE);
  CHECK_ERROR(cncprobe_references_version(refs, &version), CNCPROBE_OK);
  CHECK(version.major == 2 && version.minor == 1 && version.build == 0);
  CHECK(version.unversioned == 0);
  cncprobe_references_free(&refs);

  /* Only what a header gives is counted; without a version line it is unversioned. */
  CHECK_ERROR(cncprobe_references_read_memory(kCadOnly, sizeof kCadOnly - 1, &refs), CNCPROBE_OK);
  CHECK_ERROR(cncprobe_references_count(refs, &count), CNCPROBE_OK);
  CHECK(count == 1);
  CHECK_ERROR(cncprobe_references_name(refs, 0, &name), CNCPROBE_OK);
  CHECK(name != NULL && strcmp(name, "cad_filename") == 0);
  CHECK(text_is(cncprobe_references_value(refs, 0, value, sizeof value, NULL), value, "PART7.CAD"));
  CHECK_ERROR(cncprobe_references_version(refs, &version), CNCPROBE_OK);
  CHECK(version.unversioned == 1 && version.major == 0);
  cncprobe_references_free(&refs);
}

static void test_settings(void) {
  static const struct {
    const char* file;
    int32_t units, code;
    uint32_t version;
    double proximity_mm, proximity;
    int32_t linear;
    const char* label;
  } rows[] = {
      {"settings/valid_inches.xml", CNCPROBE_UNITS_MM, CNCPROBE_SETTINGS_SUCCESS, 1, 2.54, 0.1, 4,
       "Surface Pt"},
      /* Refused: the defaults stay, in the units asked for. */
      {"settings/malformed.xml", CNCPROBE_UNITS_INCH, CNCPROBE_SETTINGS_INVALID_XML, 0, 0.8,
       0.8 / 25.4, 3, "Surface Point "},
  };
  size_t i;
  for (i = 0; i < sizeof rows / sizeof rows[0]; ++i) {
    cncprobe_settings* settings = NULL;
    cncprobe_settings_values values;
    int32_t code = -1;
    char text[256];
    CHECK_ERROR(cncprobe_settings_read(path_of(rows[i].file), rows[i].units, &settings),
                CNCPROBE_OK);
    if (settings == NULL) continue;
    CHECK_ERROR(cncprobe_settings_code(settings, &code), CNCPROBE_OK);
    CHECK(code == rows[i].code);
    CHECK_ERROR(cncprobe_settings_values_get(settings, &values), CNCPROBE_OK);
    CHECK(values.version == rows[i].version && values.linear_precision == rows[i].linear);
    CHECK_NEAR(values.proximity_criteria_mm, rows[i].proximity_mm);
    CHECK_NEAR(values.proximity_criteria, rows[i].proximity);
    CHECK(values.input_units == CNCPROBE_UNITS_INCH);
    CHECK(text_is(cncprobe_settings_surface_point_label(settings, text, sizeof text, NULL), text,
                  rows[i].label));
    CHECK_ERROR(cncprobe_settings_message(settings, text, sizeof text, NULL), CNCPROBE_OK);
    CHECK(strncmp(text, "The inspection settings file ", 29) == 0);
    cncprobe_settings_free(&settings);
    CHECK(settings == NULL);
  }
}

/* ---------------------------------------------------------------------------------------------
 * The runner. */

/* A series of ten runs, limits from the first five (moving ranges 0.002, 0.002, 0.002, 0.002:
 * sigma within 0.002 / 1.128, centre 0.004), then a jump at run 7 that rule 1 catches on both
 * charts; a run without a value (NaN) is skipped. */
static void test_series_statistics(void) {
  const double nan = NAN;
  const double values[] = {0.0, 0.002, 0.004, 0.006, 0.008, 0.005, 0.004, 0.030, nan, 0.006};
  cncprobe_series_statistics st;
  cncprobe_violation found[4];
  const double within = 0.002 / 1.128;
  CHECK_ERROR(cncprobe_series_statistics_compute(values, 10, -0.05, 0.05, 5, CNCPROBE_ALL_RULES, 5,
                                                 &st, found, 4),
              CNCPROBE_OK);
  CHECK(st.state == CNCPROBE_CONTROL_LIMITS && st.n == 9 && st.baseline_n == 5);
  CHECK_NEAR(st.centre, 0.004);
  CHECK_NEAR(st.sigma_within, within);
  CHECK_NEAR(st.ucl, 0.004 + 3 * within);
  CHECK_NEAR(st.mr_ucl, 3.267 * 0.002);
  CHECK_NEAR(st.cp, 0.1 / (6 * within));
  CHECK_NEAR(st.cpk, 0.046 / (3 * within));
  CHECK(st.capability_preliminary == 1 && st.one_sided == 0);
  CHECK(st.violation_count == 3);
  CHECK(found[0].run == 7 && found[0].rule == 1 && found[0].moving_range == 0);
  CHECK(found[1].run == 7 && found[1].rule == 1 && found[1].moving_range == 1);
  CHECK_NEAR(found[1].value, 0.026);
  CHECK(found[2].run == 9 && found[2].rule == 1 && found[2].moving_range == 1);

  /* Too small an array: what fits, and every violation counted. */
  CHECK_ERROR(cncprobe_series_statistics_compute(values, 10, -0.05, 0.05, 5, CNCPROBE_ALL_RULES, 5,
                                                 &st, found, 1),
              CNCPROBE_ERROR_BUFFER_TOO_SMALL);
  CHECK(st.violation_count == 3 && found[0].run == 7);

  /* An offset (upper limit only) of equal values: no spread, no limits, no index. */
  {
    const double same[] = {0.01, 0.01, 0.01};
    CHECK_ERROR(cncprobe_series_statistics_compute(same, 3, nan, 0.05, 0, CNCPROBE_ALL_RULES, 0,
                                                   &st, NULL, 0),
                CNCPROBE_OK);
    CHECK(st.state == CNCPROBE_CONTROL_NO_SPREAD && st.one_sided == 1);
    CHECK(isnan(st.ucl) && isnan(st.cpk) && isnan(st.ppk) && st.standard_deviation == 0.0);
  }
  CHECK_ERROR(cncprobe_series_statistics_compute(NULL, 3, nan, nan, 0, 1u, 0, &st, NULL, 0),
              CNCPROBE_ERROR_INVALID_ARGUMENT);
  CHECK_ERROR(cncprobe_series_statistics_compute(values, 3, nan, nan, 0, 0x100u, 0, &st, NULL, 0),
              CNCPROBE_ERROR_INVALID_ARGUMENT);
  CHECK_ERROR(cncprobe_series_statistics_compute(values, 3, nan, nan, 0, 1u, 0, &st, NULL, 2),
              CNCPROBE_ERROR_INVALID_ARGUMENT);
}

/* Several files in one call, on one and on three threads: each slot holds what the file gives
 * alone, a file that cannot be read its error and no run, in the order of the list. */
static void test_many_files(void) {
  char generated[4096], inches[4096];
  const char* paths[4];
  cncprobe_extraction* runs[4];
  cncprobe_error errors[4];
  uint32_t threads;
  size_t i;
  snprintf(generated, sizeof generated, "%s", path_of("generated/cosmetic_freedoms.res"));
  snprintf(inches, sizeof inches, "%s", path_of("extraction/inch_points.res"));
  paths[0] = generated;
  paths[1] = data_dir; /* a directory */
  paths[2] = inches;
  paths[3] = generated;
  for (threads = 1; threads <= 3; threads += 2) {
    CHECK_ERROR(cncprobe_extract_files(paths, 4, CNCPROBE_UNITS_MM, 0, threads, runs, errors),
                CNCPROBE_OK);
    CHECK(errors[1] == CNCPROBE_ERROR_FILE_IS_DIRECTORY && runs[1] == NULL);
    for (i = 0; i < 4; ++i) {
      cncprobe_extraction* alone = NULL;
      int32_t status = -1, status_alone = -2;
      size_t points = 0, points_alone = 1;
      if (i == 1) continue;
      CHECK_ERROR(errors[i], CNCPROBE_OK);
      CHECK_ERROR(cncprobe_extract_file(paths[i], CNCPROBE_UNITS_MM, 0, &alone), CNCPROBE_OK);
      CHECK_ERROR(cncprobe_extraction_status(runs[i], &status), CNCPROBE_OK);
      CHECK_ERROR(cncprobe_extraction_status(alone, &status_alone), CNCPROBE_OK);
      CHECK_ERROR(cncprobe_extraction_point_count(runs[i], &points), CNCPROBE_OK);
      CHECK_ERROR(cncprobe_extraction_point_count(alone, &points_alone), CNCPROBE_OK);
      CHECK(status == status_alone && points == points_alone && points > 0);
      cncprobe_extraction_free(&alone);
      cncprobe_extraction_free(&runs[i]);
    }
  }
  paths[1] = NULL;
  CHECK_ERROR(cncprobe_extract_files(paths, 4, CNCPROBE_UNITS_MM, 0, 2, runs, errors),
              CNCPROBE_ERROR_INVALID_ARGUMENT);
  CHECK(runs[0] == NULL && runs[3] == NULL);
  CHECK_ERROR(cncprobe_extract_files(NULL, 0, CNCPROBE_UNITS_MM, 0, 1, NULL, NULL), CNCPROBE_OK);
}

int main(int argc, char** argv) {
  static const struct {
    const char* name;
    void (*run)(void);
  } tests[] = {
      {"static words", test_static_words},
      {"extraction matches the tool", test_extraction_matches_the_tool},
      {"inch file", test_inch_file},
      {"memory run and point ranges", test_memory_run_and_point_ranges},
      {"true-position convention", test_true_position_convention},
      {"shares at and beyond the limits", test_shares_at_and_beyond_the_limits},
      {"unreadable and empty inputs", test_unreadable_and_empty_inputs},
      {"bad arguments", test_bad_arguments},
      {"text buffers", test_text_buffers},
      {"references", test_references},
      {"settings", test_settings},
      {"series statistics", test_series_statistics},
      {"many files", test_many_files},
  };
  int passed = 0, failed = 0;
  size_t i;
  if (argc != 2) {
    fprintf(stderr, "usage: c_interface_test DATA_DIR\n");
    return 2;
  }
  data_dir = argv[1];
  for (i = 0; i < sizeof tests / sizeof tests[0]; ++i) {
    const int before = checks_failed;
    tests[i].run();
    if (checks_failed == before) {
      ++passed;
    } else {
      ++failed;
      printf("FAILED: %s\n", tests[i].name);
    }
  }
  printf("c_interface: %d passed, %d failed\n", passed, failed);
  return failed == 0 ? 0 : 1;
}
