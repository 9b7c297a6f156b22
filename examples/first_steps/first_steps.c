/* First steps with zopim6: an image, two operations and what an error looks like.
 *
 *   cc -std=c11 first_steps.c $(pkg-config --cflags --libs zopim6) -o first_steps
 */
#include <stdio.h>
#include <stdlib.h>
#include <zopi.h>

/* Every function reports how it went: 0 is success, a negative status an error, a positive one a warning. */
static void check(ZopStatus status) {
  if (status < 0) {
    fprintf(stderr, "zopim6 reports %d\n", (int)status);
    exit(EXIT_FAILURE);
  }
}

static void printSamples(const char* title, const Zop8u* row, int width) {
  printf("%-20s", title);
  for (int x = 0; x < width; x += width / 8) printf("%5d", row[x]);
  printf("\n");
}

int main(void) {
  const ZopImageSize size = {256, 64};

  /* The rows of an image start on aligned addresses, so a row may be longer than its pixels: the step is the
   * distance in bytes from one row to the next, and every function wants it. */
  int step = 0;
  Zop8u* image = zopiMalloc_8u_C1(size.width, size.height, &step);
  if (image == NULL) {
    fprintf(stderr, "no memory\n");
    return EXIT_FAILURE;
  }

  /* A gradient from black to white. */
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) image[y * step + x] = (Zop8u)x;
  }
  printSamples("gradient", image, size.width);

  /* Brighten by 50. Results beyond 255 stay at 255. "I" in a name means in place: the image is its own
   * destination. "Sfs" means that a scale factor follows; 0 leaves the sum as it is. */
  check(zopiAddC_8u_C1IRSfs(50, image, step, size, 0));
  printSamples("brightened by 50", image, size.width);

  /* Halve. The product with 1 is scaled by 2 to the power of -1; results are rounded, halves to even. */
  check(zopiMulC_8u_C1IRSfs(1, image, step, size, 1));
  printSamples("halved", image, size.width);

  /* A region of interest is a pointer to its first pixel and a size: here the right half of the image. */
  const ZopImageSize half = {size.width / 2, size.height};
  check(zopiSet_8u_C1R(7, image + half.width, step, half));
  printSamples("right half set to 7", image, size.width);

  /* A bad argument is reported, and the image stays as it is. */
  const ZopImageSize noRows = {size.width, 0};
  const ZopStatus status = zopiSet_8u_C1R(0, image, step, noRows);
  printf("a region without rows: status %d%s\n", (int)status,
         status == zopStatusBadSize ? ", zopStatusBadSize" : "");

  zopiFree(image);
  return EXIT_SUCCESS;
}
