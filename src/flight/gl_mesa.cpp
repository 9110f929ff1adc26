#include <GL/gl.h>
#include <GL/glu.h>

#include "flight/gl_api.h"

namespace lumox {

const GlApi& MesaGl() {
  static const GlApi table{
      glMatrixMode, glLoadIdentity, gluPerspective, glClearColor, glClear,   glPointSize, glEnable,
      glTranslatef, glRotatef,      glBegin,        glColor3d,    glVertex3f, glEnd,
      [](float matrix[16]) { glGetFloatv(GL_MODELVIEW_MATRIX, matrix); }, glScalef,
      glLoadMatrixd, glLoadMatrixf,
  };
  return table;
}

}  // namespace lumox
