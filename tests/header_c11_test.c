/* The headers compile as C11, and a C program can call the library. */
#include <stdio.h>
#include <zopi.h>

int main(void) {
  int step = 0;
  Zop8u* image = zopiMalloc_8u_C3(11, 2, &step);
  const Zop8u colour[3] = {1, 2, 3};
  const ZopImageSize size = {11, 2};
  const ZopStatus status = image == NULL ? zopStatusNoMemory : zopiSet_8u_C3R(colour, image, step, size);
  const int good = status == zopStatusOk && step == 64 && image[64 + 32] == 3;
  zopiFree(image);
  printf("%s\n", good ? "good" : "bad");
  return good ? 0 : 1;
}
