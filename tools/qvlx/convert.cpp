#include "tools/qvlx/pictures.h"
#include "tools/qvlx/qvlx.h"

Command AddConvert(CommandLine& App)
{
    const auto pSet = std::make_shared<PictureOptions>();
    AddPictureOptions(App, *pSet);
    return [pSet] {
        PictureSource Source = OpenPictures(*pSet);
        RunPictures(*pSet, Source, {"converted", Source.Layout(), Source.Size(), nullptr});
    };
}
