#include "views/application.h"

int main(int count, char** arguments)
{
    return larkspool::runEditor(count, arguments);
}
