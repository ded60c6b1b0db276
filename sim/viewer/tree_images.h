// The icons of the tree: the system's own for each class where it has them, else drawings of the viewer.
#pragma once

#include <vector>

#include "base/windows_api.h"

#include <commctrl.h>

class TreeImages {
  public:
    TreeImages();
    ~TreeImages();
    TreeImages(const TreeImages&) = delete;
    TreeImages& operator=(const TreeImages&) = delete;

    // Null when it could not be made: the tree then shows no icons.
    HIMAGELIST list() const { return list_; }
    int computer() const { return computer_; }
    // The image of the class and of its devices, or of one of them that has a problem.
    int OfClass(const GUID& classGuid);
    int OfProblem(const GUID& classGuid);

  private:
    struct ClassImage {
        GUID classGuid;
        int image;
        int problemImage;  // -1 until it is asked for
    };

    ClassImage& Find(const GUID& classGuid);
    int AddOwnIcon(int resourceId);
    // A new image: the second laid over the first.
    int AddMerged(int image, int overlay);

    HIMAGELIST list_;
    int computer_ = 0;
    int problem_ = 0;
    std::vector<ClassImage> classes_;
};
