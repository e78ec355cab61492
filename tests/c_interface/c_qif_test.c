/* cncprobe_write_qif seen from a C host: a document written, the same bytes again for the same
 * run and time, the same document identity for the same bytes read from memory, and every bad
 * argument refused before anything is written.
 *
 *   c_qif_test DATA_DIR OUTPUT_DIR */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "cncprobe/cncprobe_c.h"

static int checks_failed;

#define CHECK(condition) expect((condition) != 0, #condition, __LINE__)

static void expect(int ok, const char* what, int line) {
  if (ok) return;
  ++checks_failed;
  printf("  line %d: %s\n", line, what);
}

/* The whole file, NUL-terminated; NULL when it cannot be read. */
static char* slurp(const char* path, long* size) {
  FILE* file = fopen(path, "rb");
  char* bytes;
  if (!file) return NULL;
  fseek(file, 0, SEEK_END);
  *size = ftell(file);
  fseek(file, 0, SEEK_SET);
  bytes = malloc((size_t)*size + 1);
  if (bytes && fread(bytes, 1, (size_t)*size, file) != (size_t)*size) {
    free(bytes);
    bytes = NULL;
  }
  if (bytes) bytes[*size] = '\0';
  fclose(file);
  return bytes;
}

/* The text of the first <QPId> element. */
static void qpid_of(const char* document, char out[37]) {
  const char* at = strstr(document, "<QPId>");
  out[0] = '\0';
  if (at) {
    memcpy(out, at + 6, 36);
    out[36] = '\0';
  }
}

int main(int argc, char** argv) {
  char input[4096], first[4096], second[4096], from_memory[4096];
  cncprobe_extraction* run = NULL;
  cncprobe_extraction* memory_run = NULL;
  cncprobe_qif_options options = {CNCPROBE_DRAFTING_ASME_Y14_5, CNCPROBE_QIF_POINTS_OUTSIDE,
                                  "2026-11-23T10:15:00Z"};
  cncprobe_qif_options bad;
  char *a, *b, *c, *source;
  long size_a = 0, size_b = 0, size_c = 0, size_source = 0;
  char id_a[37], id_c[37];
  if (argc != 3) {
    printf("usage: c_qif_test DATA_DIR OUTPUT_DIR\n");
    return 2;
  }
  snprintf(input, sizeof input, "%s/extraction/worked_example.res", argv[1]);
  snprintf(first, sizeof first, "%s/c_qif_first.qif", argv[2]);
  snprintf(second, sizeof second, "%s/c_qif_second.qif", argv[2]);
  snprintf(from_memory, sizeof from_memory, "%s/c_qif_memory.qif", argv[2]);

  CHECK(cncprobe_extract_file(input, CNCPROBE_UNITS_MM, CNCPROBE_TRUE_POSITION_RADIAL, &run) ==
        CNCPROBE_OK);
  CHECK(cncprobe_write_qif(run, first, &options) == CNCPROBE_OK);
  CHECK(cncprobe_write_qif(run, second, &options) == CNCPROBE_OK);
  a = slurp(first, &size_a);
  b = slurp(second, &size_b);
  CHECK(a != NULL && b != NULL);
  if (a && b) {
    CHECK(size_a == size_b && memcmp(a, b, (size_t)size_a) == 0);
    CHECK(strstr(a, "<Designator>Y14.5</Designator>") != NULL);
    CHECK(strstr(a, "value=\"radial\"") != NULL);
  }

  /* The same bytes from memory: another description, the same document. */
  source = slurp(input, &size_source);
  CHECK(source != NULL);
  CHECK(cncprobe_extract_memory(source, (size_t)size_source, CNCPROBE_UNITS_MM,
                                CNCPROBE_TRUE_POSITION_RADIAL, &memory_run) == CNCPROBE_OK);
  CHECK(cncprobe_write_qif(memory_run, from_memory, &options) == CNCPROBE_OK);
  c = slurp(from_memory, &size_c);
  CHECK(c != NULL);
  if (a && c) {
    qpid_of(a, id_a);
    qpid_of(c, id_c);
    CHECK(id_a[0] != '\0' && strcmp(id_a, id_c) == 0);
  }

  /* Refused: nothing to write from, nowhere to write, options outside their values. */
  CHECK(cncprobe_write_qif(NULL, first, NULL) == CNCPROBE_ERROR_INVALID_ARGUMENT);
  CHECK(cncprobe_write_qif(run, NULL, NULL) == CNCPROBE_ERROR_INVALID_ARGUMENT);
  bad = options;
  bad.drafting_standard = 7;
  CHECK(cncprobe_write_qif(run, first, &bad) == CNCPROBE_ERROR_INVALID_ARGUMENT);
  bad = options;
  bad.points = -1;
  CHECK(cncprobe_write_qif(run, first, &bad) == CNCPROBE_ERROR_INVALID_ARGUMENT);
  bad = options;
  bad.time = "23.11.2026 10:15";
  CHECK(cncprobe_write_qif(run, first, &bad) == CNCPROBE_ERROR_INVALID_ARGUMENT);
  CHECK(cncprobe_write_qif(run, argv[2], NULL) == CNCPROBE_ERROR_WRITE_FAILED); /* a folder */
  CHECK(strcmp(cncprobe_error_text(CNCPROBE_ERROR_WRITE_FAILED), "cannot be written") == 0);

  free(a);
  free(b);
  free(c);
  free(source);
  cncprobe_extraction_free(&run);
  cncprobe_extraction_free(&memory_run);
  printf("c_qif_test: %d check(s) failed\n", checks_failed);
  return checks_failed == 0 ? 0 : 1;
}
